// What becomes of filled caches when the run or the detector is set, and what the loads that fill them log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Matcher;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr int kRun = 13001;
constexpr int kSimulatedRun = 1000001;
const std::string kDCM = "dcm-2-01-05";

/// What an action answers, without what it writes to the two streams.
template <class Action>
bool Quietly(Action action) {
  const CapturedOutput output;
  return action();
}

/// A site that has every kind of fact of one run.
struct FilledCaches : testing::Test {
  FilledCaches() {
    site.AddRun(kRun, 77, {kDCM});
    site.Execute("UPDATE daq.runs SET nactivechan = 4096");
    site.AddBoard(1, 5, 0, "95");
    site.AddOrdinaryConfiguration(77, {kDCM});
    site.AddSettings(77, kDCM, 0, "true", "-15", "400");
    site.Execute(
        "INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime) VALUES (13001, 3, '2017-01-01');"
        "INSERT INTO beam.potbyrun (run, npot) VALUES (13001, 2.5);"
        "INSERT INTO dataquality.dqsubruninfo (run, version, subrun) VALUES (13001, 1, 0)");
  }

  /// Loads all that there is to load. Of the counters only the triggers are filled by nothing.
  static RunHistory Loaded(int number) {
    RunHistory run(number, "Birch");
    run.SetUseGoodDiBlockMask(true);
    run.SetCustomDiBlockMask(7);
    EXPECT_TRUE(Quietly([&] { return run.LoadAllDetInfo() && run.LoadGoodDiBlockMask() && run.LoadPOT(); }));
    EXPECT_GT(run.NAnalysisChannels(), 0);
    run.GetDQSubrunInfo();
    Peer::NTriggers(run) = 12;
    return run;
  }

  ConfiguredSite site;
};

struct Caches {
  Peer::Flags flags;
  std::size_t nDiBlocks;
  int mask;
  int customMask;
  float pot;
  bool isMC;
  std::vector<int> counters;
};

Caches CachesOf(RunHistory& run) {
  return {Peer::LoadedFlags(run),
          run.GetDiBlocks().size(),
          run.GetGoodDiBlockMask(),
          Peer::CustomDiBlockMask(run),
          run.GetTotalPOT(),
          run.IsMC(),
          {run.NTriggers(), run.NActiveChannels(), Peer::NAnalysisChannels(run), run.NTotalChannels(),
           run.NEnabledFEBs(), run.NInstrumentedFEBs()}};
}

void ExpectEqual(const Caches& caches, const Caches& expected) {
  EXPECT_EQ(caches.flags, expected.flags);
  EXPECT_EQ(caches.nDiBlocks, expected.nDiBlocks);
  EXPECT_EQ(caches.mask, expected.mask);
  EXPECT_EQ(caches.customMask, expected.customMask);
  EXPECT_EQ(caches.pot, expected.pot);
  EXPECT_EQ(caches.isMC, expected.isMC);
  EXPECT_EQ(caches.counters, expected.counters);
}

const Caches kEmpty{{}, 0, 0, 0, 0.0F, false, {0, 0, 0, 0, 0, 0}};
/// Of the real run: all but cooling, which nothing loads.
const Caches kFilled{{true, true, true, true, false, true, true, true, false, true},
                     1,
                     3,
                     7,
                     2.5F,
                     false,
                     {12, 4096, 32, 2048, 64, 1}};

TEST_F(FilledCaches, OutliveTheSameDetectorAndTheSameRun) {
  auto run = Loaded(kRun);
  ExpectEqual(CachesOf(run), kFilled);
  run.SetDetector("Birch");
  run.SetDetector(briodaq::cnv::Birch);
  run.SetRunNumber(kRun);
  ExpectEqual(CachesOf(run), kFilled);
  EXPECT_THAT(run.GetDiBlocks()[0].dcms[4].febs, SizeIs(64));
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_THAT(run.GetDQSubrunInfo(), SizeIs(1));
  EXPECT_EQ(asked.Connections(), 0);
}

TEST_F(FilledCaches, AreEmptiedByAnotherDetector) {
  auto byName = Loaded(kRun);
  byName.SetDetector("Cedar");
  ExpectEqual(CachesOf(byName), kEmpty);
  auto byNumber = Loaded(kRun);
  byNumber.SetDetector(briodaq::cnv::Alder);
  ExpectEqual(CachesOf(byNumber), kEmpty);
}

TEST_F(FilledCaches, AreEmptiedByAnotherRun) {
  auto run = Loaded(kRun);
  run.SetRunNumber(kRun + 1);
  ExpectEqual(CachesOf(run), kEmpty);
}

TEST_F(FilledCaches, OfASimulatedRunAreEmptiedByAnotherDetector) {
  auto run = Loaded(kSimulatedRun);
  const Caches filled = CachesOf(run);
  EXPECT_TRUE(filled.isMC);
  EXPECT_EQ(filled.flags, (Peer::Flags{true, true, true, true, true, true, true, true, false, true}));
  run.SetDetector("Birch");
  ExpectEqual(CachesOf(run), filled);
  run.SetDetector("Alder");
  ExpectEqual(CachesOf(run), kEmpty);
}

TEST_F(FilledCaches, RememberAMissingRunUntilAnotherIsSet) {
  RunHistory run(kRun + 1, "Birch");
  EXPECT_FALSE(Quietly([&] { return run.LoadDAQRunHistory(); }));
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  const Peer::Flags missing{false, false, false, false, false, false, false, true, true, false};
  EXPECT_EQ(Peer::LoadedFlags(run), missing);
  run.SetRunNumber(kRun + 1);
  run.SetDetector("Birch");
  EXPECT_EQ(Peer::LoadedFlags(run), missing);
  const Asked again;
  EXPECT_FALSE(Quietly([&] { return run.LoadDAQRunHistory(); }));
  EXPECT_EQ(again.Connections(), 0);
  run.SetRunNumber(kRun);
  EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.NActiveChannels(), 4096);
  EXPECT_THAT(run.GetDQSubrunInfo(), SizeIs(1));
}

TEST_F(FilledCaches, ForgetAMissingRunWithItsDetector) {
  RunHistory run(kRun + 1, "Birch");
  EXPECT_FALSE(Quietly([&] { return run.LoadDAQRunHistory(); }));
  EXPECT_TRUE(Peer::LoadedFlags(run).runNotFound);
  run.SetDetector("Cedar");
  EXPECT_FALSE(Peer::LoadedFlags(run).runNotFound);
}

/// What loading the run with its mask and its protons logs of the time it took.
std::vector<std::string> TimesLogged(bool queries, bool parsing) {
  RunHistory run(kRun, "Birch");
  run.SetUseGoodDiBlockMask(true);
  run.SetTimeQueries(queries);
  run.SetTimeParsing(parsing);
  const CapturedMessages messages("BrioDatabase=info");
  EXPECT_TRUE(Quietly([&] { return run.LoadAllDetInfo() && run.LoadPOT(); }));
  const auto texts = messages.Texts(Severity::Info, "BrioDatabase");
  EXPECT_EQ(messages.All().size(), texts.size());
  return texts;
}

auto Query(const std::string& table) {
  return MatchesRegex("query took [0-9.e-]+ ms: SELECT .* FROM \"" + table + "\" WHERE .*");
}
auto HardwareQuery() { return MatchesRegex("query took [0-9.e-]+ ms"); }
auto Parsing(const std::string& table) {
  return MatchesRegex("parsing 1 rows of \"" + table + "\" took [0-9.e-]+ ms");
}

auto ConfigurationQuery(const std::string& table) {
  return MatchesRegex("query took [0-9.e-]+ ms: SELECT .* FROM .*" + table + ".*");
}
auto GivenRows(int count) {
  return MatchesRegex("parsing " + std::to_string(count) + " rows took [0-9.e-]+ ms");
}
auto Converting(const std::string& table) {
  return MatchesRegex("converting 1 rows of " + table + " took [0-9.e-]+ ms");
}

constexpr const char* kRuns = "daq\".\"runs";
constexpr const char* kResources = "daq\".\"daqresourcesbyrun";
constexpr const char* kMask = "dataquality\".\"gooddiblocksvsrun";
constexpr const char* kPOT = "beam\".\"potbyrun";

TEST_F(FilledCaches, TellWhatFillingThemTookWhenAsked) {
  site.Execute("DELETE FROM daq.daqresourcesbyrun WHERE resource_type = 'bnevb'");
  const auto masks = ConfigurationQuery("daqconfig.enable_masks");
  const auto thresholds = ConfigurationQuery("daqconfig.thresholds");
  const auto settings = ConfigurationQuery("slowcontrol.apd_settings");
  EXPECT_THAT(TimesLogged(true, true),
              ElementsAreArray<Matcher<std::string>>({Query(kRuns),
                                                      Parsing(kRuns),
                                                      Converting("daq.runs"),
                                                      Query(kResources),
                                                      Parsing(kResources),
                                                      Query(kMask),
                                                      Parsing(kMask),
                                                      Converting("dataquality.gooddiblocksvsrun"),
                                                      Converting("daq.daqresourcesbyrun"),
                                                      HardwareQuery(),
                                                      GivenRows(1),
                                                      Converting("installed hardware"),
                                                      masks,
                                                      Converting("enable masks"),
                                                      thresholds,
                                                      Converting("thresholds"),
                                                      settings,
                                                      Converting("APD settings"),
                                                      HardwareQuery(),
                                                      GivenRows(32),
                                                      HardwareQuery(),
                                                      GivenRows(1),
                                                      HardwareQuery(),
                                                      GivenRows(1),
                                                      HardwareQuery(),
                                                      GivenRows(1),
                                                      Converting("cables"),
                                                      Query(kPOT),
                                                      Parsing(kPOT),
                                                      Converting("beam.potbyrun")}));
  EXPECT_THAT(TimesLogged(true, false), ElementsAreArray<Matcher<std::string>>(
                                            {Query(kRuns), Query(kResources), Query(kMask), HardwareQuery(),
                                             masks, thresholds, settings, HardwareQuery(), HardwareQuery(),
                                             HardwareQuery(), HardwareQuery(), Query(kPOT)}));
  EXPECT_THAT(
      TimesLogged(false, true),
      ElementsAreArray<Matcher<std::string>>(
          {Parsing(kRuns), Converting("daq.runs"), Parsing(kResources), Parsing(kMask),
           Converting("dataquality.gooddiblocksvsrun"), Converting("daq.daqresourcesbyrun"), GivenRows(1),
           Converting("installed hardware"), Converting("enable masks"), Converting("thresholds"),
           Converting("APD settings"), GivenRows(32), GivenRows(1), GivenRows(1), GivenRows(1),
           Converting("cables"), Parsing(kPOT), Converting("beam.potbyrun")}));
  EXPECT_THAT(TimesLogged(false, false), IsEmpty());
}

}  // namespace
}  // namespace brio::test
