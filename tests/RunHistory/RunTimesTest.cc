#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "tests/RunHistory/Peer.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr std::time_t kStart = 1456801200;       // 2016-03-01 03:00:00 UTC
constexpr std::time_t kStop = 1456833000;        // 2016-03-01 11:50:00 UTC
constexpr std::time_t kNoStop = 946684800;       // 2000-01-01 00:00:00 UTC
constexpr std::time_t kFirstStart = 1262304000;  // 2010-01-01 00:00:00 UTC

/// A run that is loaded already.
RunHistory LoadedRun(int nSubruns, const std::string& stop = "2016-03-01 11:50:00") {
  RunHistory run(13000, "Birch");
  Peer::SetLoaded(run, true, true, true, true);
  Peer::TStartText(run) = "2016-03-01 03:00:00";
  Peer::TStopText(run) = stop;
  Peer::NSubruns(run) = nSubruns;
  if (nSubruns > 0) { Peer::Subruns(run).resize(static_cast<std::size_t>(nSubruns)); }
  return run;
}

TEST(RunTimes, AreThoseOfTheTextsInUTC) {
  auto run = LoadedRun(3);
  EXPECT_EQ(run.TStart(), kStart);
  EXPECT_EQ(run.TStop(), kStop);
  EXPECT_EQ(run.TStartAsString(), "2016-03-01 03:00:00");
  EXPECT_EQ(run.TStopAsString(), "2016-03-01 11:50:00");
}

TEST(RunTimes, OfARunWithoutAStopAreThoseOfTheYear2000) {
  auto run = LoadedRun(3, "");
  EXPECT_EQ(run.TStop(), kNoStop);
  EXPECT_EQ(run.TStopAsString(), "");
  EXPECT_EQ(run.SubrunTStop(2), kNoStop);
}

TEST(RunTimes, BeforeALoadAreThoseOfTheYear2010) {
  RunHistory run(13000, "Birch");
  Peer::SetLoaded(run, true, false, false, false);
  EXPECT_EQ(run.TStart(), kFirstStart);
  EXPECT_EQ(run.TStop(), kNoStop);
}

TEST(RunTimes, AreZeroWhenATextIsNoTime) {
  auto run = LoadedRun(3, "later");
  EXPECT_EQ(run.TStop(), 0);
  EXPECT_EQ(run.TStopAsString(), "later");
  Peer::TStartText(run) = "";
  EXPECT_EQ(run.TStart(), 0) << "an empty start has no substitute";
  Peer::TStartText(run) = "infinity";
  EXPECT_EQ(run.TStart(), 0);
  EXPECT_EQ(run.SubrunTStart(0), 0);
}

TEST(SubrunTimes, AreTheRunsAtItsEndsAndZeroBetween) {
  auto run = LoadedRun(3);
  EXPECT_EQ(run.SubrunTStart(0), kStart);
  EXPECT_EQ(run.SubrunTStart(1), 0);
  EXPECT_EQ(run.SubrunTStart(2), 0);
  EXPECT_EQ(run.SubrunTStop(0), 0);
  EXPECT_EQ(run.SubrunTStop(1), 0);
  EXPECT_EQ(run.SubrunTStop(2), kStop);
}

TEST(SubrunTimes, EndWhereTheNextSubrunBegins) {
  auto run = LoadedRun(3);
  Peer::Subruns(run)[1] = {111, 112};
  Peer::Subruns(run)[2] = {222, 223};
  EXPECT_EQ(run.SubrunTStart(1), 111);
  EXPECT_EQ(run.SubrunTStop(0), 111);
  EXPECT_EQ(run.SubrunTStart(2), 222);
  EXPECT_EQ(run.SubrunTStop(1), 222);
}

TEST(SubrunTimes, AreZeroOutsideTheRun) {
  auto run = LoadedRun(3);
  for (const int subrun : {-1, -1000, 3, 4, 1000000}) {
    EXPECT_EQ(run.SubrunTStart(subrun), 0) << subrun;
    EXPECT_EQ(run.SubrunTStop(subrun), 0) << subrun;
  }
}

TEST(SubrunTimes, OfAOneSubrunRunAreTheRuns) {
  auto run = LoadedRun(1);
  EXPECT_EQ(run.SubrunTStart(0), kStart);
  EXPECT_EQ(run.SubrunTStop(0), kStop);
}

TEST(SubrunTimes, OfARunWithoutSubruns) {
  auto none = LoadedRun(0);
  EXPECT_EQ(none.SubrunTStart(0), kStart) << "0 is not above the count";
  EXPECT_EQ(none.SubrunTStop(0), 0);
  auto negative = LoadedRun(-1);
  EXPECT_EQ(negative.SubrunTStart(0), 0);
  EXPECT_EQ(negative.SubrunTStop(0), 0);
  EXPECT_EQ(negative.SubrunTStop(-2), 0);
}

}  // namespace
}  // namespace brio::test
