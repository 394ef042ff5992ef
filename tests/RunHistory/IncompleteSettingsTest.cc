// What LoadAPDSettings does with what it cannot read, with and without SetAbortIfIncomplete.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/exception.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-01-05";

/// A part of the settings, by the table without which it cannot be read.
struct Part {
  const char* name;
  const char* schema;
  const char* table;
  const char* inMessage;
};

void PrintTo(const Part& part, std::ostream* stream) { *stream << part.name; }

class CompleteSettings : public testing::Test {
protected:
  CompleteSettings() {
    site.AddRun(kRun, 77, {kDCM});
    site.AddBoard(1, 5, 0, "95");
    site.AddSettings(77, kDCM, 0, "true", "-15", "400");
    dbi::gLocToFA.clear();
    dbi::gLocToFA[{2, 9, 9, 9}] = {};
  }
  void Break(const Part& part) const {
    site.Execute("ALTER TABLE " + std::string(part.schema) + "." + part.table + " RENAME TO gone");
  }
  void Repair(const Part& part) const {
    site.Execute("ALTER TABLE " + std::string(part.schema) + ".gone RENAME TO " + part.table);
  }
  /// Category and message of what the load throws.
  std::string Thrown() {
    const CapturedOutput output;
    try {
      run.LoadAPDSettings();
    } catch (const cet::exception& error) { return error.category() + "|" + error.message(); }
    return "nothing";
  }

  ConfiguredSite site;
  CapturedMessages messages;
  RunHistory run{kRun, "Birch"};
};

class IncompleteSettings : public CompleteSettings, public testing::WithParamInterface<Part> {};

TEST_P(IncompleteSettings, ThrowWhenThatIsWanted) {
  Break(GetParam());
  run.SetAbortIfIncomplete(true);
  const std::string thrown =
      std::string("RunHistory::Incomplete|LoadAPDSettings: could not read ") + GetParam().inMessage + ".\n";
  EXPECT_EQ(Thrown(), thrown);
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_EQ(dbi::gLocToFA.size(), 1U) << "the map stays";
  EXPECT_EQ(run.NInstrumentedFEBs(), 1) << "as the hardware loader counted";
  EXPECT_EQ(Thrown(), thrown) << "it is tried again";
  run.InvalidateCaches();
  EXPECT_EQ(Thrown(), thrown) << "the setting outlives the caches";

  Repair(GetParam());
  EXPECT_EQ(Thrown(), "nothing");
  EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
  const auto& board = run.GetDiBlocks().at(0).dcms.at(4).febs.at(0);
  EXPECT_EQ(board.avgGain, 95.0F);
  EXPECT_EQ(board.voltage, 400);
}

TEST_P(IncompleteSettings, CountAsLoadedOtherwise) {
  Break(GetParam());
  const CapturedOutput output;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
}

INSTANTIATE_TEST_SUITE_P(Parts, IncompleteSettings,
                         testing::Values(Part{"Gains", "public", "apd_pixel_m", "gains"},
                                         Part{"APDs", "public", "apd_stats", "installed APDs"},
                                         Part{"FEBs", "public", "feb_test_summary", "installed FEBs"},
                                         Part{"SlowControl", "slowcontrol", "apd_settings", "slow control"}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(CompleteSettings, DoNotThrow) {
  run.SetAbortIfIncomplete(true);
  EXPECT_EQ(Thrown(), "nothing");
  EXPECT_EQ(run.GetDiBlocks().at(0).dcms.at(4).febs.at(0).avgGain, 95.0F);
}

TEST_F(CompleteSettings, MayLackSomeDCMs) {
  site.AddResource(kRun, "dcm", "dcm-2-01-06");
  run.SetAbortIfIncomplete(true);
  EXPECT_EQ(Thrown(), "nothing");
}

TEST_F(CompleteSettings, OfARunWithoutDCMsDoNotThrow) {
  site.Execute("UPDATE daq.daqresourcesbyrun SET resource_type = 'other'");
  run.SetAbortIfIncomplete(true);
  EXPECT_EQ(Thrown(), "nothing");
}

TEST_F(CompleteSettings, NameAllThatCouldNotBeRead) {
  run.SetAbortIfIncomplete(true);
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadHardwareInfo());
  }
  site.Execute("ALTER TABLE public.feb_comm_cables RENAME TO gone");
  EXPECT_EQ(Thrown(), "RunHistory::Incomplete|LoadAPDSettings: could not read cabling.\n");
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere dbname=none");
  EXPECT_EQ(Thrown(),
            "RunHistory::Incomplete|LoadAPDSettings: could not read slow control, gains, installed APDs, "
            "installed FEBs, cabling.\n");
}

TEST(IncompleteNearSettings, AreThoseOfSlowControl) {
  const ConfiguredSite site("alder");
  site.AddRun(11000, 77, {"dcm-1-01-02"});
  site.AddNearModule("dcm-1-01-02", 63);
  site.Execute("DROP TABLE slowcontrol.apd_settings");
  const CapturedMessages messages;
  const CapturedOutput output;
  RunHistory run(11000, "Alder");
  run.SetAbortIfIncomplete(true);
  EXPECT_THROW(run.LoadAPDSettings(), cet::exception);
  run.SetAbortIfIncomplete(false);
  EXPECT_TRUE(run.LoadAPDSettings());
}

}  // namespace
}  // namespace brio::test
