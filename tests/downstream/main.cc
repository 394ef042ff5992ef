#include <iostream>

#include "RunHistory/RunHistory.h"
#include "database/Table.h"

// Needs no server: a table's definition is found beside the libraries, and a simulated run reads none.
int main() {
  const brio::dbi::Table runs("RunHistory/tables/Runs.xml");
  brio::dbi::RunHistory simulated(5, "Birch");
  std::cout << "tstart is column " << runs.GetColIndex("tstart") << '\n'
            << simulated.NLiveDCMs() << " DCMs\n";
}
