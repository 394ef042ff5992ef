#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"
#include "tests/support/Locale.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

std::string Stored(const std::string& name) {
  const std::ifstream file(std::string(BRIO_DUMPS) + "/" + name + ".txt");
  EXPECT_TRUE(file.good()) << name;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Dumped {
  const char* detector;
  int run;
  const char* name;
};

class SampleDump : public testing::TestWithParam<Dumped> {};

TEST_P(SampleDump, EqualsTheStoredTextsTheFirstTimeAndTheSecond) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  RunHistory run(GetParam().run, GetParam().detector);
  const auto first = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(first.output, Stored(GetParam().name + std::string("-first"))) << "the old count of subruns";
  EXPECT_EQ(first.error, "");
  EXPECT_EQ(first.connections, 1);
  const auto second = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(second.output, Stored(GetParam().name + std::string("-second")));
  EXPECT_EQ(second.error, "");
  EXPECT_EQ(second.attempts, 0);
}

INSTANTIATE_TEST_SUITE_P(Dump, SampleDump,
                         testing::Values(Dumped{"Alder", 11000, "alder-11000"},
                                         Dumped{"Birch", 13004, "birch-13004"},
                                         Dumped{"Cedar", 12000, "cedar-12000"}),
                         [](const auto& tested) { return std::string(tested.param.detector); });

const std::string kStars(40, '*');

std::string Head(const std::string& run, const std::string& nSubruns) {
  return kStars + "\nDump of run " + run + "\n" + kStars + "\n\nNum Subruns        : " + nSubruns + "\n";
}

constexpr const char* kDefaultTimes = "Start time         : 2010-01-01 00:00:00\nEnd time           : \n";
constexpr const char* kNoCounts = "Trig Tot           : 0\nNum Active Channels: 0\nNum Total Channels:  0\n";
constexpr const char* kNothing = "Num DCMs           : 0\nNum BNEVBs         : 0\n";

TEST(Dump, OfAMissingRunShowsTheDefaultsAndNoLoadingLine) {
  RunDatabase database;
  auto run = database.Run();
  const auto activity = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(activity.output, Head("13000", "0") + kDefaultTimes + kNoCounts + kNothing);
  const std::string missing = "RunHistory::LoadDAQRunHistory: failed to find the run in the runs table.\n";
  EXPECT_EQ(activity.error,
            "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n" + missing + missing)
      << "the start, the stop and the hardware each ask";
  EXPECT_TRUE(database.IsLeft());
}

TEST(Dump, OfAMissingRunThatAbortsThrowsAtItsSecondQuestion) {
  RunDatabase database;
  auto run = database.Run();
  run.SetAbortIfRunMissing(true);
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.Dump(); }); });
  EXPECT_EQ(thrown, "RunHistory::|LoadDAQRunHistory: failed to find the run in the runs table.\n");
  EXPECT_EQ(activity.output, Head("13000", "0") + "Start time         : 2010-01-01 00:00:00\n");
}

TEST(Dump, OfARunWithoutDCMsHasNoTabLines) {
  RunDatabase database;
  database.AddRun();
  database.AddBNEVB("bnevb-001");
  auto run = database.Run();
  const auto activity = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(activity.output,
            Head("13000", "0") +
                "Start time         : 2016-03-01 03:00:00\nEnd time           : 2016-03-01 11:50:00\n"
                "Trig Tot           : 0\nNum Active Channels: 4096\nNum Total Channels:  0\n" +
                kHardwareLine + "Num DCMs           : 0\nNum BNEVBs         : 1\n\tbnevb-001\n");
}

TEST(Dump, OfAFreshObjectBuildsASimulatedRunBeforeTheStartsLabel) {
  RunHistory run;
  Peer::NTriggers(run) = 12345;
  Peer::NTotalChannels(run) = -7;
  const auto first = ActivityOf([&] { run.Dump(); });
  std::string dcms = "Num DCMs           : 168\n";
  for (int i = 0; i < 168; ++i) {
    dcms += "\t\n";
  }
  const std::string rest =
      kDefaultTimes +
      std::string("Trig Tot           : 12345\nNum Active Channels: 0\nNum Total Channels:  -7\n") + dcms +
      "Num BNEVBs         : 0\n";
  EXPECT_EQ(first.output, Head("-1", "-1") + kSimulatedLine + rest);
  const auto second = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(second.output, Head("-1", "64") + rest);
}

TEST(Dump, IsInDecimalWhateverTheFormatAndTheLocaleOfStandardOutput) {
  RunHistory run(1000001, "Birch");
  ActivityOf([&] { run.LoadAllDetInfo(); });
  Peer::NSubruns(run) = 1234567;
  Peer::NTriggers(run) = -1234567;
  Peer::BNEVBs(run).resize(1000);
  const auto plain = ActivityOf([&] { run.Dump(); });
  ASSERT_THAT(plain.output, testing::StartsWith(Head("1000001", "1234567")));
  bool isKept = false;
  const auto activity = ActivityOf([&] {
    const GlobalDecimalComma comma;
    const OddFormat odd(std::cout);
    run.Dump();
    isKept = odd.IsKept();
  });
  EXPECT_EQ(activity.output, plain.output);
  EXPECT_TRUE(isKept);
}

TEST(Dump, ThatFailsToLoadStopsAfterWhatItCouldTell) {
  RunDatabase database;
  database.AddRun();
  auto run = database.Run();
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.Dump(); }); });
  EXPECT_EQ(thrown, "RunHistory::NoRsrcs|LoadDAQRunHistory: no resources found for run 13000\n");
  EXPECT_EQ(activity.output, Head("13000", "0"));
  EXPECT_TRUE(database.IsLeft());
}

TEST(Dump, AfterALoadShowsTheLoadedSubruns) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-02");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  const auto activity = ActivityOf([&] { run.Dump(); });
  EXPECT_THAT(activity.output, testing::StartsWith(Head("13000", "3")));
  EXPECT_THAT(activity.output,
              testing::EndsWith("Num DCMs           : 1\n\tdcm-2-01-02\nNum BNEVBs         : 0\n"));
}

}  // namespace
}  // namespace brio::test
