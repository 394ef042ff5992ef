#include "tests/database/LibpqDoubles.h"

#include <dlfcn.h>
#include <libpq-fe.h>

#include <set>

namespace brio::test {
namespace {

bool refusesSingleRows = false;
bool isCounting = false;
std::size_t given = 0;
std::set<const PGresult*> open;

PGresult* Noted(PGresult* result) {
  if (isCounting && result != nullptr) {
    ++given;
    open.insert(result);
  }
  return result;
}

template <class Function>
Function* Libpqs(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

NoSingleRows::NoSingleRows() { refusesSingleRows = true; }
NoSingleRows::~NoSingleRows() { refusesSingleRows = false; }

ResultAccount::ResultAccount() {
  isCounting = true;
  given = 0;
  open.clear();
}
ResultAccount::~ResultAccount() { isCounting = false; }
std::size_t ResultAccount::Open() { return open.size(); }
std::size_t ResultAccount::Given() { return given; }

}  // namespace brio::test

// The executable's own functions are found before libpq's.
extern "C" int PQsetSingleRowMode(PGconn* connection) {
  static const auto set = brio::test::Libpqs<decltype(PQsetSingleRowMode)>("PQsetSingleRowMode");
  return brio::test::refusesSingleRows ? 0 : set(connection);
}

extern "C" PGresult* PQgetResult(PGconn* connection) {
  static const auto get = brio::test::Libpqs<decltype(PQgetResult)>("PQgetResult");
  return brio::test::Noted(get(connection));
}

extern "C" PGresult* PQmakeEmptyPGresult(PGconn* connection, ExecStatusType status) {
  static const auto make = brio::test::Libpqs<decltype(PQmakeEmptyPGresult)>("PQmakeEmptyPGresult");
  return brio::test::Noted(make(connection, status));
}

extern "C" void PQclear(PGresult* result) {
  static const auto clear = brio::test::Libpqs<decltype(PQclear)>("PQclear");
  if (brio::test::isCounting) { brio::test::open.erase(result); }
  clear(result);
}
