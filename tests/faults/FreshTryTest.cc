// A load whose connection is lost, or whose statement the server calls off, begins afresh, once.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/FreshTry.h"
#include "RunHistory/Pause.h"
#include "database/StepObserver.h"
#include "experiment/DAQChannelMap.h"
#include "framework/exception.h"
#include "tests/RunHistory/Peer.h"
#include "tests/faults/CompareRuns.h"
#include "tests/faults/FaultServer.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::DatabaseStep;
using dbi::FreshTries;
using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13000;
constexpr const char* kBeginsAfresh =
    "run 13000 of Birch: the connection was lost or the server called a statement off; the load begins "
    "afresh";

/// What this process's connections call themselves.
const std::string& ApplicationName() {
  static const std::string name = "brio-fresh-try-" + std::to_string(getpid());
  return name;
}

/// Ends the backends of this test just before some statements, which count from 1, while it lives.
class Interruptions {
public:
  explicit Interruptions(std::set<int> before) : before_(std::move(before)) {
    dbi::SetStepObserver([this](DatabaseStep step, const std::string& text) {
      if (step != DatabaseStep::Statement) { return; }
      statements_.push_back(text);
      if (before_.count(static_cast<int>(statements_.size())) == 0) { return; }
      for (const int backend : faultserver::Backends(ApplicationName())) {
        faultserver::Terminate(backend);
      }
    });
  }
  ~Interruptions() { dbi::SetStepObserver({}); }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

  const std::vector<std::string>& Statements() const { return statements_; }

private:
  std::set<int> before_;
  std::vector<std::string> statements_;
};

/// Something to ask an object for, and its answer as a text.
struct Question {
  const char* name;
  std::string (*ask)(RunHistory&);
  int statements;
};

void PrintTo(const Question& question, std::ostream* stream) { *stream << question.name; }

class AnInterruptedLoad : public testing::TestWithParam<Question> {
protected:
  static RunHistory Fresh() {
    RunHistory run(kRun, "Birch");
    run.SetUseGoodDiBlockMask(true);
    run.SetIsBad(geo::OfflineChan(3, 4), true, 5);
    return run;
  }
  static std::string Ask(RunHistory& run) {
    const CapturedOutput output;
    return GetParam().ask(run);
  }

  EnvironmentVariable database_{"BRIO_DATABASE",
                                server::Template("small") + " application_name=" + ApplicationName()};
};

TEST_P(AnInterruptedLoad, BeginsAfreshAndIsThenComplete) {
  const CapturedMessages messages("warning,RunHistory=info");
  RunHistory undisturbed = Fresh();
  std::string answer;
  std::vector<std::string> statements;
  {
    const Interruptions none({});
    answer = Ask(undisturbed);
    statements = none.Statements();
  }
  ASSERT_EQ(statements.size(), static_cast<std::size_t>(GetParam().statements));
  const auto map = dbi::gLocToFA;
  for (int statement = 1; statement <= GetParam().statements; ++statement) {
    SCOPED_TRACE(statement);
    RunHistory run = Fresh();
    const auto* record = &*Peer::BadChanHistory(run).begin();
    const auto before = FreshTries();
    const auto nSaid = messages.Texts(Severity::Info, "RunHistory").size();
    const Interruptions interruption({statement});
    EXPECT_EQ(Ask(run), answer);
    EXPECT_EQ(FreshTries(), before + 1);
    EXPECT_EQ(FirstDifference(run, undisturbed), "");
    EXPECT_EQ(Peer::LoadedFlags(run), Peer::LoadedFlags(undisturbed));
    EXPECT_EQ(FirstDifference(dbi::gLocToFA, map), "");
    EXPECT_EQ(&*Peer::BadChanHistory(run).begin(), record) << "what clients added is not touched";
    const auto said = messages.Texts(Severity::Info, "RunHistory");
    EXPECT_EQ(std::count(said.begin() + static_cast<std::ptrdiff_t>(nSaid), said.end(), kBeginsAfresh), 1);
    // The last statements are all that the undisturbed object asked, from the first on.
    const auto& asked = interruption.Statements();
    ASSERT_GT(asked.size(), static_cast<std::size_t>(GetParam().statements));
    EXPECT_TRUE(std::equal(statements.begin(), statements.end(),
                           asked.end() - static_cast<std::ptrdiff_t>(statements.size())));
  }
}

std::string Text(bool answer) { return answer ? "true" : "false"; }
unsigned int SomeChannel() {
  return daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch)->encodeDChan(2, 1, 1, 0, 0);
}

const Question kQuestions[] = {
    {"LoadDAQRunHistory", [](RunHistory& run) { return Text(run.LoadDAQRunHistory()); }, 3},
    {"LoadHardwareInfo", [](RunHistory& run) { return Text(run.LoadHardwareInfo()); }, 4},
    {"LoadPixelInfo", [](RunHistory& run) { return Text(run.LoadPixelInfo(0)); }, 6},
    {"LoadAPDSettings", [](RunHistory& run) { return Text(run.LoadAPDSettings()); }, 9},
    {"LoadGoodDiBlockMask", [](RunHistory& run) { return Text(run.LoadGoodDiBlockMask()); }, 1},
    {"LoadPOT", [](RunHistory& run) { return Text(run.LoadPOT()) + std::to_string(run.GetTotalPOT()); }, 1},
    {"GetDQSubrunInfo", [](RunHistory& run) { return std::to_string(run.GetDQSubrunInfo().size()); }, 1},
    {"NAnalysisChannels", [](RunHistory& run) { return std::to_string(run.NAnalysisChannels()); }, 4},
    {"GetDiBlock", [](RunHistory& run) { return std::to_string(run.GetDiBlock(0, false).nInstrumentedFEBs); },
     4},
    {"GetGain",
     [](RunHistory& run) {
       bool ok = false;
       const float gain = run.GetGain(SomeChannel(), ok);
       return Text(ok) + std::to_string(gain);
     },
     11}};
INSTANTIATE_TEST_SUITE_P(FreshTry, AnInterruptedLoad, testing::ValuesIn(kQuestions),
                         [](const auto& tested) { return std::string(tested.param.name); });

class FreshTry : public testing::Test {
protected:
  EnvironmentVariable database_{"BRIO_DATABASE",
                                server::Template("small") + " application_name=" + ApplicationName()};
  CapturedMessages messages_;
  RunHistory run_{kRun, "Birch"};
};

TEST_F(FreshTry, IsMadeOnce) {
  const CapturedOutput output;
  const auto before = FreshTries();
  {
    const Interruptions both({1, 2});
    EXPECT_THROW(run_.LoadDAQRunHistory(), cet::exception);
    EXPECT_EQ(both.Statements().size(), 2U);
  }
  EXPECT_EQ(FreshTries(), before + 1);
  EXPECT_FALSE(Peer::LoadedFlags(run_).daq);
  {
    const Interruptions both({1, 2});
    EXPECT_FALSE(run_.LoadPOT());
  }
  EXPECT_EQ(FreshTries(), before + 2);
  EXPECT_TRUE(run_.LoadPOT());
  EXPECT_TRUE(run_.LoadDAQRunHistory());
}

TEST_F(FreshTry, LeavesWhatEarlierLoadsDid) {
  const CapturedOutput output;
  ASSERT_TRUE(run_.LoadDAQRunHistory());
  const auto builders = run_.GetBNEVBs().size();
  ASSERT_GT(builders, 0U);
  Peer::DiBlocks(run_)[0].dcms[0].hostName = "stays";
  const Interruptions interruption({1});
  ASSERT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(interruption.Statements().size(), 2U) << "the run record is not asked for again";
  EXPECT_EQ(run_.GetBNEVBs().size(), builders);
  EXPECT_EQ(run_.GetDiBlocks()[0].dcms[0].hostName, "stays");
}

TEST_F(FreshTry, LeavesEventBuildersOfTheRunBeforeListed) {
  const CapturedOutput output;
  ASSERT_TRUE(run_.LoadDAQRunHistory());
  const auto builders = run_.GetBNEVBs().size();
  run_.InvalidateCaches();
  const Interruptions interruption({2});
  ASSERT_TRUE(run_.LoadDAQRunHistory());
  EXPECT_EQ(run_.GetBNEVBs().size(), 2 * builders);
}

TEST_F(FreshTry, WaitsAMoment) {
  const CapturedOutput output;
  const Interruptions interruption({1});
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(run_.LoadPOT());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(FreshTry, OfADumpShowsTheRecordOnce) {
  std::string undisturbed;
  {
    CapturedOutput output;
    RunHistory other(kRun, "Birch");
    other.Dump();
    undisturbed = output.StandardOutput();
  }
  const std::string progress = "RunHistory: Loading FEB and APD installation information\n";
  for (const int statement : {1, 2, 3}) {
    SCOPED_TRACE(statement);
    CapturedOutput output;
    RunHistory run(kRun, "Birch");
    const Interruptions interruption({statement});
    run.Dump();
    auto expected = undisturbed;
    if (statement == 3) { expected.insert(expected.find(progress), progress); }
    EXPECT_EQ(output.StandardOutput(), expected);
  }
}

TEST_F(FreshTry, IsNotMadeForWhatWouldOnlyFailAgain) {
  const CapturedOutput output;
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere dbname=none");
  const auto before = FreshTries();
  EXPECT_THROW(run_.LoadDAQRunHistory(), cet::exception);
  EXPECT_FALSE(run_.LoadPOT());
  EXPECT_EQ(FreshTries(), before);
}

/// How often LoadPixelInfo pauses for its own next try.
class CountedPauses {
public:
  CountedPauses() {
    dbi::SetPause([this](unsigned int) { ++count_; });
  }
  ~CountedPauses() { dbi::SetPause({}); }
  CountedPauses(const CountedPauses&) = delete;
  CountedPauses& operator=(const CountedPauses&) = delete;
  int Count() const { return count_; }

private:
  int count_ = 0;
};

TEST_F(FreshTry, OfThePixelConfigurationComesBeforeItsOwnTries) {
  for (const bool all : {false, true}) {
    SCOPED_TRACE(all);
    CapturedOutput output;
    const CountedPauses pauses;
    RunHistory run(kRun, "Birch");
    run.SetMaxLoadRetries(4);
    const Interruptions interruption({4});
    EXPECT_TRUE(all ? run.LoadAllDetInfo() : run.LoadPixelInfo(0));
    EXPECT_EQ(pauses.Count(), 0);
    EXPECT_EQ(output.StandardError(), "RunHistory::LoadPixelInfo failed to get valid data\n");
  }
}

TEST_F(FreshTry, OfThePixelConfigurationTakesNoneOfItsTries) {
  CapturedOutput output;
  const ScratchDatabases databases("small");
  databases.Execute("TRUNCATE daqconfig.thresholds");
  const EnvironmentVariable database("BRIO_DATABASE",
                                     databases.Template() + " application_name=" + ApplicationName());
  const CountedPauses pauses;
  run_.SetMaxLoadRetries(3);
  const auto before = FreshTries();
  const Interruptions interruption({4});
  EXPECT_FALSE(run_.LoadPixelInfo(0));
  EXPECT_EQ(FreshTries(), before + 1);
  EXPECT_EQ(pauses.Count(), 2) << "tries 0 and 2";
  const std::string invalid = "RunHistory::LoadPixelInfo failed to get valid data\n";
  EXPECT_EQ(output.StandardError(), invalid + invalid + invalid + "RunHistory::LoadPixelInfo giving up!\n");
}

}  // namespace
}  // namespace brio::test
