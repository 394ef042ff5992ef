#include <dlfcn.h>

#include <gtest/gtest.h>

#include "tests/RunHistory/HardwareRows.h"

namespace {

bool sendingFails = false;

}  // namespace

/// Stands before libpq's: the only way to a statement that cannot be sent on a connection that is well.
extern "C" int PQsendQueryParams(PGconn* connection, const char* command, int nParams, const Oid* types,
                                 const char* const* values, const int* lengths, const int* formats,
                                 int resultFormat) {
  if (sendingFails) { return 0; }
  static const auto send =
      reinterpret_cast<decltype(&PQsendQueryParams)>(dlsym(RTLD_NEXT, "PQsendQueryParams"));
  return send(connection, command, nParams, types, values, lengths, formats, resultFormat);
}

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;

const char* const kProgress = "RunHistory: Loading FEB and APD installation information\n";

/// A run of each kind of detector whose DAQ history is there, so that only the hardware is to be loaded.
class LoadingFailures : public testing::TestWithParam<std::string> {
protected:
  LoadingFailures()
      : detector_(GetParam()),
        databases_("empty", {detector_ == "Birch" ? "birch" : "alder"}),
        address_("BRIO_DATABASE", databases_.Template()),
        run_(13000, detector_) {
    databases_.Execute(
        "INSERT INTO daq.runs (run, tstart) VALUES (13000, '2015-08-01 15:30:00');"
        "INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES "
        "(13000, 'dcm', 'dcm-2-01-01', '" +
            detector_ + "')",
        Database());
    EXPECT_TRUE(run_.LoadDAQRunHistory());
  }
  ~LoadingFailures() override { sendingFails = false; }

  std::string Database() const { return detector_ == "Birch" ? "birch" : "alder"; }
  const char* Table() const { return detector_ == "Birch" ? "public.feb_comm_cables" : "hardware_position"; }
  bool Loaded() const { return Peer::LoadedFlags(run_).hardware; }
  /// The statement that a load sends when nothing fails.
  std::string Statement() const {
    RunHistory run(13000, detector_);
    test::CapturedOutput output;
    const test::SentStatements sent;
    run.LoadHardwareInfo();
    return sent.Texts().back();
  }

  std::string detector_;
  test::ScratchDatabases databases_;
  test::EnvironmentVariable address_;
  RunHistory run_;
};

TEST_P(LoadingFailures, WithoutAConnection) {
  const test::CapturedMessages messages;
  {
    const test::EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
    test::CapturedOutput output;
    EXPECT_FALSE(run_.LoadHardwareInfo());
    EXPECT_EQ(output.StandardOutput(), kProgress);
    EXPECT_EQ(
        output.StandardError(),
        "RunHistory::LoadHardwareInfo(): Failed to connect to hardware database!  Failed to load hardware "
        "info.\n");
    EXPECT_FALSE(Loaded());
  }
  test::CapturedOutput output;
  EXPECT_TRUE(run_.LoadHardwareInfo());
  EXPECT_TRUE(Loaded());
}

TEST_P(LoadingFailures, WithAStatementThatFails) {
  const std::string statement = Statement();
  databases_.Execute(std::string("ALTER TABLE ") + Table() + " RENAME TO lost", Database());
  const test::CapturedMessages messages;
  for (int call = 0; call < 2; ++call) {  // tried again at every call
    test::CapturedOutput output;
    EXPECT_FALSE(run_.LoadHardwareInfo());
    EXPECT_EQ(output.StandardOutput(), kProgress);
    EXPECT_EQ(output.StandardError(), "Query failed: " + statement + "\n");
    EXPECT_FALSE(Loaded());
  }
  const std::string name = std::string(Table()).substr(std::string(Table()).find('.') + 1);
  databases_.Execute("ALTER TABLE lost RENAME TO " + name, Database());
  test::CapturedOutput output;
  EXPECT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(output.StandardError(), "");
}

/// What was sent but not answered counts as failed, for both detectors: nothing counts as loaded. The load is
/// interrupted at both of its tries.
TEST_P(LoadingFailures, WithAConnectionThatBreaks) {
  const std::string statement = Statement();
  const test::CapturedMessages messages;
  SetStepObserver([&](DatabaseStep step, const std::string&) {
    if (step == DatabaseStep::Statement) {
      test::server::Query("postgres",
                          "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE "
                          "application_name = 'brio-runhistory' AND datname = '" +
                              databases_.Name(Database()) + "'");
    }
  });
  test::CapturedOutput output;
  EXPECT_FALSE(run_.LoadHardwareInfo());
  SetStepObserver({});
  const std::string failed = "Query failed: " + statement + "\n";
  EXPECT_EQ(output.StandardError(), failed + failed);
  EXPECT_FALSE(Loaded());
}

TEST_P(LoadingFailures, WithoutADetectorsName) {
  Peer::DetectorName(run_) = "Nobody";
  test::CapturedOutput output;
  EXPECT_FALSE(run_.LoadHardwareInfo());
  EXPECT_EQ(output.StandardOutput(), kProgress);
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_FALSE(Loaded());
}

TEST_P(LoadingFailures, WithoutADAQHistory) {
  RunHistory run(14999, detector_);
  test::CapturedOutput output;
  EXPECT_FALSE(run.LoadHardwareInfo());
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
}

INSTANTIATE_TEST_SUITE_P(Detectors, LoadingFailures, testing::Values("Birch", "Alder"),
                         [](const auto& parameter) { return parameter.param; });

class LoadingFailuresFar : public LoadingFailures {};
class LoadingFailuresNear : public LoadingFailures {};

TEST_P(LoadingFailuresFar, WithAStatementThatIsNotSent) {
  const std::string statement = Statement();
  const test::CapturedMessages messages;
  sendingFails = true;
  test::CapturedOutput output;
  EXPECT_FALSE(run_.LoadHardwareInfo());
  EXPECT_EQ(output.StandardError(), "SQL error, failed query: " + statement + "\n");
  EXPECT_FALSE(Loaded());
}

TEST_P(LoadingFailuresNear, WithAStatementThatIsNotSentCountAsLoaded) {
  databases_.Execute(
      "INSERT INTO hardware_position VALUES ('Alder', 'dcm-1-01-01', 1, 1, 1, 1, '2013-01-01', "
      "NULL, 'APD', NULL)",
      "alder");
  const test::CapturedMessages messages;
  sendingFails = true;
  test::CapturedOutput output;
  EXPECT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_TRUE(Loaded());
  EXPECT_EQ(run_.NInstrumentedFEBs(), 0);
}

INSTANTIATE_TEST_SUITE_P(Detectors, LoadingFailuresFar, testing::Values("Birch"));
INSTANTIATE_TEST_SUITE_P(Detectors, LoadingFailuresNear, testing::Values("Alder"));

TEST(FailedPull, OfAStatementThatIsNotSentReadsAsOneWithoutRows) {
  const test::HardwareRows rows;
  RunHistory run = test::RunStartingAt();
  const test::CapturedMessages messages("error");
  test::CapturedOutput output;
  sendingFails = true;
  const test::SentStatements sent;
  EXPECT_TRUE(test::PullAPDs(run).empty());
  sendingFails = false;
  ASSERT_EQ(sent.Texts().size(), 2U);
  EXPECT_EQ(messages.Texts(Severity::Error, "RunHistory"),
            (std::vector<std::string>{"SQL error, failed query: " + sent.Texts()[0],
                                      "SQL error, failed query: " + sent.Texts()[1]}));
}

}  // namespace
}  // namespace brio::dbi
