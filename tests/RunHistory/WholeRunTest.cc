// LoadAllDetInfo: its order, its connections, and what it does not do twice.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/StepObserver.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-01-05";

/// The statements sent while it lives.
class ObservedStatements {
public:
  ObservedStatements() {
    dbi::SetStepObserver([this](dbi::DatabaseStep step, const std::string& text) {
      if (step == dbi::DatabaseStep::Statement) { texts_.push_back(text); }
    });
  }
  ~ObservedStatements() { dbi::SetStepObserver({}); }
  ObservedStatements(const ObservedStatements&) = delete;
  ObservedStatements& operator=(const ObservedStatements&) = delete;
  const std::vector<std::string>& Texts() const { return texts_; }

private:
  std::vector<std::string> texts_;
};

void Fill(ConfiguredSite& site) {
  site.AddRun(kRun, 77, {kDCM});
  site.AddBoard(1, 5, 0, "95");
  site.AddOrdinaryConfiguration(77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "-15", "400");
}

TEST(WholeRun, IsReadInOneStateForACopyOfADiBlock) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  const Asked asked;
  const auto diblock = run.GetDiBlock(0, true);
  EXPECT_EQ(asked.Opened(), 1);
  EXPECT_EQ(asked.Transactions(), 1);
  EXPECT_EQ(diblock.dcms.at(4).febs.at(0).voltage, 400);
  EXPECT_EQ(diblock.dcms.at(4).febs.at(0).avgGain, 95.0F);
}

TEST(WholeRun, AsksInOrderOverOneConnection) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  const ObservedStatements statements;
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Opened(), 1);
  EXPECT_EQ(asked.Transactions(), 1);
  EXPECT_THAT(statements.Texts(),
              ElementsAre(HasSubstr("\"runs\""), HasSubstr("\"daqresourcesbyrun\""),
                          HasSubstr("mod.position_in_layer AS position"), HasSubstr("daqconfig.enable_masks"),
                          HasSubstr("daqconfig.thresholds"), HasSubstr("slowcontrol.apd_settings"),
                          HasSubstr("apd_pixel_m"), HasSubstr("apd_stats"), HasSubstr("feb_test_summary"),
                          HasSubstr("mod.barcoded_item_id from public.feb_comm_cables")));
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines + kAPDLine);
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(site.OpenConnections(), 0);
  const auto flags = Peer::LoadedFlags(run);
  EXPECT_TRUE(flags.daq && flags.hardware && flags.pixel && flags.apdSettings);
  EXPECT_FALSE(flags.cooling || flags.mask || flags.pot || flags.dq);
  const auto& board = Peer::DiBlocks(run).at(0).dcms.at(4).febs.at(0);
  EXPECT_TRUE(board.isInstalled && board.isEnabled);
  EXPECT_EQ(board.voltage, 400);
  EXPECT_EQ(board.avgGain, 95.0F);
}

TEST(WholeRun, ASecondTimeDoesNothingAtAll) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadAllDetInfo());
  }
  CapturedOutput output;
  const CapturedMessages messages("debug");
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(asked.Statements(), 0);
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_TRUE(messages.All().empty());
}

TEST(WholeRun, OfAMissingRunAsksTheRunsTableOnly) {
  const ConfiguredSite site;
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  const ObservedStatements statements;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_THAT(statements.Texts(), ElementsAre(HasSubstr("\"runs\"")));
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
  EXPECT_EQ(site.OpenConnections(), 0);
}

TEST(WholeRun, OfAMissingRunAsksNothingTheSecondTime) {
  const ConfiguredSite site;
  RunHistory run(kRun, "Birch");
  {
    const CapturedOutput output;
    ASSERT_FALSE(run.LoadAllDetInfo());
  }
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(output.StandardError(),
            "RunHistory::LoadDAQRunHistory: failed to find the run in the runs table.\n");
}

TEST(WholeRun, StopsAtTheHardware) {
  ConfiguredSite site;
  Fill(site);
  site.Execute("DROP TABLE public.feb_comm_cables");
  RunHistory run(kRun, "Birch");
  const CapturedMessages messages;
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Statements(), 3);
  EXPECT_EQ(output.StandardOutput(), kHardwareLine);
}

TEST(WholeRun, StopsAtThePixelConfiguration) {
  ConfiguredSite site;
  Fill(site);
  site.Execute("DELETE FROM daqconfig.thresholds");
  RunHistory run(kRun, "Birch");
  const CapturedMessages messages;
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Statements(), 5);
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines);
  EXPECT_EQ(output.StandardError(), kNoValidData);
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
}

TEST(WholeRun, WithANegativeMaximumOfRetriesGivesUpAlsoWhenLoaded) {
  ConfiguredSite site;
  Fill(site);
  RunHistory run(kRun, "Birch");
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadAllDetInfo());
  }
  run.SetMaxLoadRetries(-1);
  CapturedOutput output;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_EQ(output.StandardError(), kGivingUp);
}

TEST(WholeRun, OfASimulatedRunOpensNoConnection) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  for (const char* detector : {"Alder", "Birch", "Cedar"}) {
    for (const int number : {-1, 0, 9999, 1000000}) {
      RunHistory run(number, detector);
      CapturedOutput output;
      const Asked asked;
      EXPECT_TRUE(run.LoadAllDetInfo());
      EXPECT_TRUE(run.LoadAllDetInfo());
      EXPECT_EQ(asked.Connections(), 0);
      EXPECT_EQ(output.StandardOutput(), "Looks like a MC run number - assume perfect + any mask\n");
      EXPECT_EQ(output.StandardError(), "");
    }
  }
}

TEST(WholeRun, OfAThirdDetectorNeedsNoHardwareStatement) {
  ConfiguredSite site("cedar");
  site.AddRun(12000, 77, {"dcm-3-01-02"});
  site.AddOrdinaryConfiguration(77, {"dcm-3-01-02"});
  site.AddSettings(77, "dcm-3-01-02", 0, "true", "-15", "400");
  RunHistory run(12000, "Cedar");
  const CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Statements(), 5);
  EXPECT_EQ(asked.Opened(), 1);
  EXPECT_EQ(run.NEnabledFEBs(), 64);
}

/// Four databases, `<prefix>_<kind>`, each with what it is for and nothing else.
class FourDatabases {
public:
  FourDatabases() : prefix_("four_" + std::to_string(getpid())) {
    const std::string factory =
        "DROP SCHEMA millpondprod_factory CASCADE; DROP TABLE public.apd_stats, "
        "public.apd_pixel_m, public.feb_test_summary, public.feb_comm_cables, "
        "public.hardware_position;";
    const std::string runs = "DROP SCHEMA daq, dataquality, beam CASCADE;";
    const std::string daqconfig = "DROP SCHEMA daqconfig CASCADE;";
    const std::string slowcontrol = "DROP SCHEMA slowcontrol CASCADE;";
    Create("runs", factory + daqconfig + slowcontrol);
    Create("hardware", runs + daqconfig + slowcontrol);
    Create("daqconfig", runs + factory + slowcontrol);
    Create("slowcontrol", runs + factory + daqconfig);
    server::Query(Name("runs"),
                  "INSERT INTO daq.runs (run, tstart, configid) VALUES (13001, '2015-08-01 15:30:00', 77);"
                  "INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) "
                  "VALUES (13001, 'dcm', 'dcm-2-01-05', 'Birch')");
    server::Query(
        Name("daqconfig"),
        "INSERT INTO daqconfig.configurations VALUES (77, 'test', NULL);"
        "INSERT INTO daqconfig.enable_masks VALUES (77, 'dcm-2-01-05', 3, "
        "decode(repeat('ff', 256), 'hex'));"
        "INSERT INTO daqconfig.thresholds VALUES (77, 'dcm-2-01-05', decode(repeat('0032', 2048), 'hex'))");
    server::Query(Name("slowcontrol"),
                  "INSERT INTO slowcontrol.apd_settings VALUES (77, 'dcm-2-01-05', 0, true, -15, 400)");
  }
  ~FourDatabases() {
    for (const auto& name : names_) {
      server::Query("postgres", "DROP DATABASE " + name + " WITH (FORCE)");
    }
  }
  FourDatabases(const FourDatabases&) = delete;
  FourDatabases& operator=(const FourDatabases&) = delete;
  std::string Template() const { return server::ConnectionString(prefix_ + "_{database}"); }

private:
  std::string Name(const std::string& kind) const { return prefix_ + "_" + kind; }
  void Create(const std::string& kind, const std::string& remove) {
    names_.push_back(Name(kind));
    server::Query("postgres", "CREATE DATABASE " + Name(kind) + " TEMPLATE empty_birch");
    server::Query(Name(kind), "SET client_min_messages = warning; " + remove);
  }
  std::string prefix_;
  std::vector<std::string> names_;
};

TEST(WholeRun, OpensOneConnectionForEachOfFourDatabases) {
  const FourDatabases databases;
  const EnvironmentVariable variable("BRIO_DATABASE", databases.Template());
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Opened(), 4);
  EXPECT_EQ(asked.Transactions(), 4);
  EXPECT_EQ(asked.Statements(), 10);
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(run.NEnabledFEBs(), 2);
  EXPECT_EQ(Peer::DiBlocks(run).at(0).dcms.at(4).febs.at(0).voltage, 400);
}

}  // namespace
}  // namespace brio::test
