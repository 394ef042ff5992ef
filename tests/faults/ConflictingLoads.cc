// Loads on a standby that has to remove what they read: conflicting_loads <primary's socket> <how often a
// load>. BRIO_DATABASE names the standby. Before the gains are asked for, as often as is said, the primary
// changes all of them and removes the old rows, and the standby follows at once. Prints how each of three
// loads ended.
#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include <libpq-fe.h>

#include "RunHistory/FreshTry.h"
#include "database/StepObserver.h"
#include "framework/exception.h"
#include "tests/faults/CompareRuns.h"

namespace {

using brio::dbi::RunHistory;

constexpr int kRun = 13000;

/// One value of a statement run as the server's owner.
std::string Value(const std::string& socketFolder, const std::string& statement) {
  PGconn* connection = PQconnectdb(("host=" + socketFolder + " dbname=small_birch user=postgres").c_str());
  PGresult* result = PQexec(connection, statement.c_str());
  if (PQresultStatus(result) == PGRES_FATAL_ERROR) { std::cerr << PQerrorMessage(connection); }
  const std::string value = PQntuples(result) > 0 ? PQgetvalue(result, 0, 0) : "";
  PQclear(result);
  PQfinish(connection);
  return value;
}

/// Replaces every row of the gains by an equal one, and waits until the standby has followed.
void Replace(const std::string& primary) {
  Value(primary, "UPDATE public.apd_pixel_m SET pixel_m = pixel_m");
  Value(primary, "VACUUM public.apd_pixel_m");
  const auto end = Value(primary, "SELECT pg_current_wal_flush_lsn()");
  const auto following = "SELECT coalesce(min(replay_lsn) >= '" + end + "', false) FROM pg_stat_replication";
  for (int i = 0; i < 6000 && Value(primary, following) != "t"; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

std::string Ending(RunHistory& run) {
  try {
    return run.LoadAllDetInfo() ? "true" : "false";
  } catch (const cet::exception& error) { return error.category(); }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) { return 2; }
  const std::string primary = argv[1];
  const int often = std::stoi(argv[2]);
  std::cout.setstate(std::ios_base::failbit);  // the loaders' own lines
  RunHistory reference(kRun, "Birch");
  if (Ending(reference) != "true") { return 1; }
  for (int load = 0; load < 3; ++load) {
    int left = often;
    brio::dbi::SetStepObserver([&](brio::dbi::DatabaseStep, const std::string& text) {
      if (left > 0 && text.find("apd_pixel_m") != std::string::npos) {
        --left;
        Replace(primary);
      }
    });
    RunHistory run(kRun, "Birch");
    run.SetAbortIfIncomplete(often > 1);
    const long before = brio::dbi::FreshTries();
    const std::string ending = Ending(run);
    brio::dbi::SetStepObserver({});
    const bool whole = brio::test::FirstDifference(run, reference).empty();
    std::cout.clear();
    std::cout << ending << (whole ? ", whole" : ", not whole") << ", fresh tries "
              << brio::dbi::FreshTries() - before << std::endl;
    std::cout.setstate(std::ios_base::failbit);
  }
  return 0;
}
