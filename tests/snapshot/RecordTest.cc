// BRIO_RECORD: what a job reads, in a file, written when it ends normally; the job notices nothing.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <regex>
#include <string>

#include <gmock/gmock.h>

#include "RunHistory/RunHistory.h"
#include "database/snapshot/SnapshotFile.h"
#include "tests/snapshot/SavedFile.h"
#include "tests/snapshot/Transcript.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::snapshot::RunState;
using dbi::snapshot::SnapshotFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Contents(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A job in a process of its own, which is recorded.
class Record : public testing::Test {
protected:
  std::string Path() const { return folder_.Path("job.brio"); }

  /// \return the status of the job, minus a signal's number
  int RunJob(const std::function<void()>& job, const std::string& path) {
    const std::string output = logs_.Path("output");
    const std::string error = logs_.Path("error");
    const pid_t child = fork();
    if (child == 0) {
      setenv("BRIO_RECORD", path.c_str(), 1);
      if (freopen(output.c_str(), "w", stdout) == nullptr || freopen(error.c_str(), "w", stderr) == nullptr) {
        _exit(99);
      }
      job();
      std::exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    output_ = Contents(output);
    error_ = Contents(error);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  int RunJob(const std::function<void()>& job) { return RunJob(job, Path()); }

  EnvironmentVariable database_{"BRIO_DATABASE", server::Template("small")};
  ScratchFolder folder_;
  ScratchFolder logs_;
  std::string output_;
  std::string error_;
};

/// Statements of a client's own, by every way to send one.
std::string AskOwnStatements() {
  dbi::Table table;
  table.SetDetector("Birch");
  table.SetTableType(dbi::Table::kHardware);
  std::string answer;
  if (!table.GetConnection(0)) { return "no connection"; }
  PGresult* result = nullptr;
  table.ExecuteSQL("SELECT 17 AS number, 'text' AS word, NULL", result);
  for (int column = 0; column < PQnfields(result); ++column) {
    answer += std::string(PQfname(result, column)) + '=' + PQgetvalue(result, 0, column) + ' ' +
              std::to_string(PQftype(result, column)) + ' ';
  }
  PQclear(result);
  result = dbi::PerformPGQuery("SELECT count(*) FROM daq.runs", table);
  answer += result != nullptr ? PQgetvalue(result, 0, 0) : "failed";
  PQclear(result);
  const auto rows =
      dbi::PerformPGQuery("SELECT run FROM daq.runs ORDER BY run LIMIT 3", table,
                          [&](const dbi::RowView& row) { answer += std::string(" ") + row.Text(0); });
  answer += " of " + std::to_string(rows.value_or(-1));
  dbi::Table runs("RunHistory/tables/Runs.xml");
  runs.SetDetector("Birch");
  runs.SetValidityRange<int>("run", 13001, 13002);
  runs.AddOrderColumn("run");
  return answer + ' ' + std::to_string(runs.Load()) + std::to_string(runs.NRow());
}

TEST_F(Record, KeepsAClientsOwnStatements) {
  EXPECT_EQ(RunJob([] { std::cout << AskOwnStatements() << std::flush; }), 7);
  ASSERT_THAT(folder_.Names(), ElementsAre("job.brio"));
  EXPECT_THAT(output_, HasSubstr("number=17"));
  const EnvironmentVariable recorded("BRIO_DATABASE", "snapshot:" + Path());
  EXPECT_EQ(AskOwnStatements(), output_);
  EXPECT_THAT(SnapshotFile::Open(Path())->Runs(), IsEmpty());
}

/// The logger begins its lines with the time.
std::string WithoutTimes(const std::string& text) {
  static const std::regex kTime(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ )");
  return std::regex_replace(text, kTime, "");
}

TEST_F(Record, KeepsWhatARunWasAskedAndAnswersTheSame) {
  const auto job = [] {
    dbi::RunHistory run(13001, "Birch");
    bool ok = false;
    std::cout << run.GetPixelGain(geo::OfflineChan(66, 17), ok) << ok << '\n';
    run.Dump();
    std::cout << std::flush;
  };
  EXPECT_EQ(RunJob(job), 7);
  const auto runs = SnapshotFile::Open(Path())->Runs();
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs.front().run, 13001);
  EXPECT_EQ(runs.front().state, RunState::Part);
  const EnvironmentVariable recorded("BRIO_DATABASE", "snapshot:" + Path());
  CapturedOutput again;
  job();
  EXPECT_EQ(again.StandardOutput(), output_);
  EXPECT_EQ(WithoutTimes(again.StandardError()), WithoutTimes(error_));
}

TEST_F(Record, ChangesNothingThatTheJobSees) {
  const auto job = [] {
    const auto transcript = TranscriptOf("Alder", 11001, AllSettings().front());
    std::cout << transcript.text << std::flush;
  };
  EXPECT_EQ(RunJob(job), 7);
  const std::string recorded = output_;
  EXPECT_EQ(RunJob([&job] {
              unsetenv("BRIO_RECORD");
              job();
            }),
            7);
  EXPECT_EQ(FirstDifference(recorded, output_), "");
}

TEST_F(Record, SaysInOneLineThatItCannotWrite) {
  EXPECT_EQ(RunJob([] { std::cout << AskOwnStatements() << std::flush; }, folder_.Path("none/job.brio")), 7);
  EXPECT_THAT(output_, HasSubstr("number=17"));
  EXPECT_EQ(std::count(error_.begin(), error_.end(), '\n'), 1) << error_;
  EXPECT_THAT(error_, HasSubstr("what this process read is not recorded: "));
  EXPECT_THAT(error_, HasSubstr("none/job.brio"));
  EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(Record, WritesNothingWhenTheJobDoesNotEndNormally) {
  EXPECT_EQ(RunJob([] {
              AskOwnStatements();
              std::raise(SIGKILL);
            }),
            -SIGKILL);
  EXPECT_EQ(RunJob([] {
              AskOwnStatements();
              _exit(3);
            }),
            3);
  EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(Record, IsWrittenByTheProcessThatReadNotByItsChildren) {
  EXPECT_EQ(RunJob([this] {
              AskOwnStatements();
              const pid_t child = fork();
              if (child == 0) { std::exit(0); }
              waitpid(child, nullptr, 0);
              if (!folder_.Names().empty()) { _exit(1); }
            }),
            7);
  EXPECT_THAT(folder_.Names(), ElementsAre("job.brio"));
}

}  // namespace
}  // namespace brio::test
