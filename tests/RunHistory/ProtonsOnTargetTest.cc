// LoadPOT.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>

#include "database/ConnectionStatistics.h"
#include "framework/exception.h"
#include "tests/RunHistory/Definitions.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Locale.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::ConnectionStatistics;
using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13001;
const std::string kNoRow = "RunHistory::LoadPOT(): No POT info found for run 13001\n";

class ProtonsOnTarget : public testing::Test {
protected:
  void Insert(const std::string& npot) const {
    databases.Execute("INSERT INTO beam.potbyrun (run, npot) VALUES (13001, " + npot + ")");
  }
  ScratchDatabases databases;
  EnvironmentVariable database{"BRIO_DATABASE", databases.Template()};
  RunHistory run{kRun, "Birch"};
};

TEST_F(ProtonsOnTarget, AreZeroUntilLoaded) {
  Insert("1.5e17");
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_FALSE(Peer::LoadedFlags(run).pot);
}

TEST_F(ProtonsOnTarget, AreLoadedOnce) {
  Insert("1.5e17");
  CapturedOutput output;
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), 1.5e17F);
  databases.Execute("UPDATE beam.potbyrun SET npot = 2");
  const auto before = ConnectionStatistics::Now();
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent);
  EXPECT_EQ(run.GetTotalPOT(), 1.5e17F);
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

TEST_F(ProtonsOnTarget, AreThoseOfTheFirstRow) {
  // A new table gives its rows in the order in which they came.
  Insert("1.5e17");
  Insert("2.5e17");
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), 1.5e17F);
}

TEST_F(ProtonsOnTarget, AreTimedWhenThatIsSwitchedOn) {
  Insert("1.5e17");
  for (const bool queries : {false, true}) {
    for (const bool parsing : {false, true}) {
      const CapturedMessages messages("info");
      run.InvalidateCaches();
      run.SetTimeQueries(queries);
      run.SetTimeParsing(parsing);
      ASSERT_TRUE(run.LoadPOT());
      int nQueries = 0;
      int nParsings = 0;
      for (const auto& text : messages.Texts(Severity::Info, "BrioDatabase")) {
        if (text.rfind("query took ", 0) == 0) { ++nQueries; }
        if (text.rfind("parsing 1 rows of \"beam\".\"potbyrun\" took ", 0) == 0) { ++nParsings; }
      }
      EXPECT_EQ(nQueries, queries ? 1 : 0);
      EXPECT_EQ(nParsings, parsing ? 1 : 0);
    }
  }
}

TEST_F(ProtonsOnTarget, DoNotLoadTheRun) {
  Insert("1.5e17");
  ASSERT_TRUE(run.LoadPOT());
  EXPECT_FALSE(Peer::LoadedFlags(run).daq);
}

TEST_F(ProtonsOnTarget, AreReloadedForAnotherRun) {
  Insert("1.5e17");
  databases.Execute("INSERT INTO beam.potbyrun (run, npot) VALUES (13002, 2.5e17)");
  ASSERT_TRUE(run.LoadPOT());
  run.SetRunNumber(13002);
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  ASSERT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), 2.5e17F);
}

TEST_F(ProtonsOnTarget, MayHaveNoRowAndThenSaySoEachTime) {
  CapturedOutput output;
  Peer::TotalPOT(run) = 7.0F;
  const auto before = ConnectionStatistics::Now();
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent + 2);
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_FALSE(Peer::LoadedFlags(run).pot);
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), kNoRow + kNoRow);
}

TEST_F(ProtonsOnTarget, MayHaveNoRowAndThenNameTheRunInDecimal) {
  CapturedOutput output;
  const OddFormat odd(std::cerr);
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_EQ(output.StandardError(), kNoRow);
}

TEST_F(ProtonsOnTarget, ThatComeLaterAreFound) {
  {
    const CapturedOutput output;
    ASSERT_FALSE(run.LoadPOT());
  }
  Insert("3e17");
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), 3e17F);
}

TEST_F(ProtonsOnTarget, ThatCannotBeReadCountAsNoRow) {
  Insert("1.5e17");
  databases.Execute("ALTER TABLE beam.potbyrun RENAME TO elsewhere");
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_EQ(output.StandardError(), kNoRow + kNoRow);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").size(), 2U);
  databases.Execute("ALTER TABLE beam.elsewhere RENAME TO potbyrun");
  EXPECT_TRUE(run.LoadPOT());
}

TEST_F(ProtonsOnTarget, WithoutAConnectionCountAsNoRow) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere dbname=none");
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPOT());
  EXPECT_EQ(output.StandardError(), kNoRow);
}

TEST_F(ProtonsOnTarget, OfAnUnknownDetectorAreFalseWithoutAWord) {
  RunHistory unknown;
  unknown.SetRunNumber(kRun);
  Peer::TotalPOT(unknown) = 7.0F;
  CapturedOutput output;
  const auto before = ConnectionStatistics::Now();
  EXPECT_FALSE(unknown.LoadPOT());
  EXPECT_EQ(unknown.GetTotalPOT(), 0.0F);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

TEST_F(ProtonsOnTarget, WithoutARightDefinitionFileThrow) {
  Peer::TotalPOT(run) = 7.0F;
  {
    const OwnDefinitions definitions;
    EXPECT_THROW(run.LoadPOT(), cet::exception);
    definitions.Write("RunHistory/tables/POTByRun.xml",
                      "<table name=\"potbyrun\"><column type=\"integer\"/>");
    EXPECT_THROW(run.LoadPOT(), cet::exception);
    RunHistory unknown;
    EXPECT_THROW(unknown.LoadPOT(), cet::exception) << "before the name is looked at";
  }
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_FALSE(Peer::LoadedFlags(run).pot);
  Insert("1");
  EXPECT_TRUE(run.LoadPOT());
}

TEST_F(ProtonsOnTarget, OfASimulatedRunKeepTheirValueOnceItIsBuilt) {
  RunHistory simulated(1, "Birch");
  {
    const CapturedOutput output;
    ASSERT_TRUE(simulated.LoadDAQRunHistory());
  }
  Peer::TotalPOT(simulated) = 7.0F;
  const auto before = ConnectionStatistics::Now();
  EXPECT_TRUE(simulated.LoadPOT());
  EXPECT_EQ(simulated.GetTotalPOT(), 7.0F);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

TEST_F(ProtonsOnTarget, OfASimulatedRunThatIsNotBuiltAreAskedFor) {
  RunHistory simulated(1, "Birch");
  CapturedOutput output;
  EXPECT_FALSE(simulated.LoadPOT());
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadPOT(): No POT info found for run 1\n");
}

TEST_F(ProtonsOnTarget, MayBeNull) {
  Insert("NULL");
  Peer::TotalPOT(run) = 7.0F;
  CapturedOutput output;
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_TRUE(Peer::LoadedFlags(run).pot);
  EXPECT_EQ(output.StandardError(), "");
}

/// Texts of the column, stored as text so that anything can stand there.
struct Stored {
  const char* name;
  const char* text;
  float value;
  bool malformed;
};

void PrintTo(const Stored& stored, std::ostream* stream) { *stream << stored.name; }

class StoredProtonsOnTarget : public ProtonsOnTarget, public testing::WithParamInterface<Stored> {};

TEST_P(StoredProtonsOnTarget, AreReadAsOneNumber) {
  const auto& [name, text, value, malformed] = GetParam();
  databases.Execute("ALTER TABLE beam.potbyrun ALTER npot TYPE text");
  Insert("'" + std::string(text) + "'");
  CapturedOutput output;
  EXPECT_TRUE(run.LoadPOT());
  EXPECT_EQ(run.GetTotalPOT(), value) << name;
  EXPECT_EQ(output.StandardError(),
            malformed ? "Column::Get(): Bad_lexical_cast! Value = " + std::string(text) + "\n" : "");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, StoredProtonsOnTarget,
    testing::Values(Stored{"Exponent", "1.5e20", 1.5e20F, false},
                    Stored{"BigExponent", "1.5E+20", 1.5e20F, false},
                    Stored{"NegativeExponent", "-2.5e-3", -2.5e-3F, false}, Stored{"Zero", "0", 0.0F, false},
                    Stored{"Digits", "230000000000000000", 2.3e17F, false},
                    Stored{"Word", "many", 0.0F, true}, Stored{"Empty", "", 0.0F, true},
                    Stored{"BlankBefore", " 1.5e20", 0.0F, true}, Stored{"BlankAfter", "1.5e20 ", 0.0F, true},
                    Stored{"Comma", "1,5", 0.0F, true}, Stored{"HalfExponent", "1.5e", 0.0F, true}),
    [](const auto& tested) { return tested.param.name; });

TEST(SampleProtonsOnTarget, AreThoseOfTheirRun) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  for (const int number : {13000, 13001, 13040}) {
    RunHistory run(number, "Birch");
    EXPECT_TRUE(run.LoadPOT());
    EXPECT_EQ(run.GetTotalPOT(),
              std::stof(server::Value(
                  "small_birch", "SELECT npot FROM beam.potbyrun WHERE run = " + std::to_string(number))));
  }
  RunHistory twoRows(13017, "Birch");
  EXPECT_TRUE(twoRows.LoadPOT());
  EXPECT_EQ(twoRows.GetTotalPOT(),
            std::stof(server::Value("small_birch", "SELECT npot FROM beam.potbyrun WHERE run = 13017")));
  RunHistory null(13009, "Birch");
  EXPECT_TRUE(null.LoadPOT());
  EXPECT_EQ(null.GetTotalPOT(), 0.0F);
}

}  // namespace
}  // namespace brio::test
