#include <iostream>

#include "RunHistory/RunHistory.h"
#include "arrays/Boards.h"
#include "arrays/Writers.h"
#include "database/Table.h"

// Needs no server: a table's definition is found beside the libraries, and a simulated run reads none.
int main() {
  const brio::dbi::Table runs("RunHistory/tables/Runs.xml");
  brio::dbi::RunHistory simulated(5, "Birch");
  std::cout << "tstart is column " << runs.GetColIndex("tstart") << '\n'
            << simulated.NLiveDCMs() << " DCMs\n";

  const auto boards =
      brio::arrays::MakeBoards(simulated, brio::arrays::LoadRun(simulated, brio::arrays::Depth::Run));
  std::cout << boards.boards.size() << " boards\n";
  brio::arrays::Write(std::cout, brio::arrays::Form::CSV, boards);
}
