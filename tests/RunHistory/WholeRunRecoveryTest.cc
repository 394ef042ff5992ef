// A load that an exception cut short can be made again.
#include <stdexcept>

#include <gtest/gtest.h>

#include "database/StepObserver.h"
#include "framework/exception.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Definitions.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-01-05";

void Fill(ConfiguredSite& site) {
  site.AddRun(kRun, 77, {kDCM});
  site.AddBoard(1, 5, 0, "95");
  site.AddBoard(1, 5, 63, "105");
  site.AddOrdinaryConfiguration(77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "-15", "400");
}

void ExpectWhole(RunHistory& run) {
  EXPECT_EQ(run.NDCMs(), 1U);
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  EXPECT_EQ(run.NEnabledFEBs(), 64);
  EXPECT_EQ(run.NTotalChannels(), 2048);
  ASSERT_EQ(run.GetDiBlocks().size(), 1U);
  const auto& diblock = run.GetDiBlocks()[0];
  EXPECT_EQ(diblock.nInstrumentedFEBs, 2);
  const auto& dcm = diblock.dcms.at(4);
  EXPECT_EQ(dcm.nInstrumentedFEBs, 2);
  EXPECT_EQ(dcm.febs.at(0).voltage, 400);
  EXPECT_EQ(dcm.febs.at(0).avgGain, 95.0F);
  EXPECT_EQ(dcm.febs.at(63).avgGain, 105.0F);
  EXPECT_EQ(dcm.febs.at(63).thresholds, std::vector<short>(32, 50));
  const auto flags = Peer::LoadedFlags(run);
  EXPECT_TRUE(flags.daq && flags.hardware && flags.pixel && flags.apdSettings);
}

/// How many steps with a database a whole load takes: connect, begin, ten statements.
constexpr int kSteps = 12;

class WholeRunCutShort : public testing::TestWithParam<int> {};

TEST_P(WholeRunCutShort, ByAnExceptionIsLoadedTheNextTime) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  int step = 0;
  dbi::SetStepObserver([&](dbi::DatabaseStep /*step*/, const std::string& /*text*/) {
    if (step++ == GetParam()) { throw std::runtime_error("cut short"); }
  });
  EXPECT_THROW(run.LoadAllDetInfo(), std::runtime_error);
  dbi::SetStepObserver({});
  EXPECT_EQ(site.OpenConnections(), 0);
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_TRUE(run.LoadAllDetInfo());
  ExpectWhole(run);
  EXPECT_EQ(site.OpenConnections(), 0);
}

INSTANTIATE_TEST_SUITE_P(Step, WholeRunCutShort, testing::Range(0, kSteps));

TEST(WholeRunThatThrew, ForWantOfResourcesIsLoadedOnceTheyAreThere) {
  ConfiguredSite site;
  Fill(site);
  site.Execute("CREATE TABLE kept AS TABLE daq.daqresourcesbyrun; DELETE FROM daq.daqresourcesbyrun");
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  EXPECT_THROW(run.LoadAllDetInfo(), cet::exception);
  EXPECT_EQ(site.OpenConnections(), 0);
  site.Execute("INSERT INTO daq.daqresourcesbyrun SELECT * FROM kept");
  EXPECT_TRUE(run.LoadAllDetInfo());
  ExpectWhole(run);
}

TEST(WholeRunThatThrew, ForADCMsShortNameIsLoadedOnceItIsGone) {
  ConfiguredSite site;
  Fill(site);
  site.AddResource(kRun, "dcm", "dcm-2");
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  EXPECT_THROW(run.LoadAllDetInfo(), std::out_of_range);
  EXPECT_EQ(site.OpenConnections(), 0);
  site.Execute("DELETE FROM daq.daqresourcesbyrun WHERE appname = 'dcm-2'");
  EXPECT_TRUE(run.LoadAllDetInfo());
  ExpectWhole(run);
}

TEST(WholeRunThatThrew, ForWantOfADefinitionFileIsLoadedOnceItIsFound) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  {
    const OwnDefinitions none;
    EXPECT_THROW(run.LoadAllDetInfo(), cet::exception);
  }
  EXPECT_TRUE(run.LoadAllDetInfo());
  ExpectWhole(run);
}

TEST(WholeRunThatThrew, InTheNearHardwareIsLoadedOnceThatIsRight) {
  ConfiguredSite site("alder");
  site.AddRun(11000, 77, {"dcm-1-01-02"});
  site.AddOrdinaryConfiguration(77, {"dcm-1-01-02"});
  site.AddSettings(77, "dcm-1-01-02", 63, "true", "-15", "400");
  site.AddNearModule("dcm-1-01-02", 63);
  site.AddNearModule("dcm", 1);
  RunHistory run(11000, "Alder");
  const CapturedOutput output;
  EXPECT_THROW(run.LoadAllDetInfo(), std::out_of_range);
  EXPECT_EQ(site.OpenConnections(), 0);
  site.Execute("DELETE FROM public.hardware_position WHERE dcm_name = 'dcm'");
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_EQ(run.NEnabledFEBs(), 64);
}

}  // namespace
}  // namespace brio::test
