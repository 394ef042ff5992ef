// GetDQSubrunInfo.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/StepObserver.h"
#include "framework/exception.h"
#include "tests/RunHistory/Definitions.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::ConnectionStatistics;
using dbi::DQSubrunInfo;
using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr int kRun = 13001;

void ExpectEqual(const DQSubrunInfo& info, const DQSubrunInfo& expected) {
  EXPECT_EQ(info.run, expected.run);
  EXPECT_EQ(info.subrun, expected.subrun);
  EXPECT_EQ(info.flag, expected.flag);
  EXPECT_EQ(info.version, expected.version);
  EXPECT_EQ(info.miprate, expected.miprate);
  EXPECT_EQ(info.ngooddb, expected.ngooddb);
  EXPECT_EQ(info.numslc, expected.numslc);
  EXPECT_EQ(info.trkfrac, expected.trkfrac);
}

/// The statements sent by an action.
template <class Action>
std::vector<std::string> StatementsOf(Action action) {
  std::vector<std::string> texts;
  dbi::SetStepObserver([&](dbi::DatabaseStep step, const std::string& text) {
    if (step == dbi::DatabaseStep::Statement) { texts.push_back(text); }
  });
  action();
  dbi::SetStepObserver({});
  return texts;
}

class SubrunRecords : public testing::Test {
protected:
  /// version, subrun, flag, miprate, ngooddb, numslc, trkfrac
  void Insert(const std::string& values, int number = kRun) const {
    databases.Execute(
        "INSERT INTO dataquality.dqsubruninfo (run, version, subrun, flag, miprate, ngooddb, "
        "numslc, trkfrac) VALUES (" +
        std::to_string(number) + ", " + values + ")");
  }
  ScratchDatabases databases;
  EnvironmentVariable database{"BRIO_DATABASE", databases.Template()};
  RunHistory run{kRun, "Birch"};
};

TEST(SubrunRecord, HasItsDefaults) {
  const DQSubrunInfo info;
  ExpectEqual(info, {0, -1, 0, 0, 0.0F, 0, 0.0F, 0.0F});
}

TEST_F(SubrunRecords, HaveAllFields) {
  Insert("4, 17, -3, 1.25, 13, 4.5, 0.875");
  CapturedOutput output;
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  ExpectEqual(records[0], {kRun, 17, -3, 4, 1.25F, 13, 4.5F, 0.875F});
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
  EXPECT_FALSE(Peer::LoadedFlags(run).daq) << "nothing else is loaded";
}

TEST_F(SubrunRecords, AreThoseOfTheHighestVersion) {
  Insert("2, 0, 9, 9.5, 9, 9.5, 9.5");
  Insert("3, 0, 0, 1.5, 14, 4.5, 0.5");
  Insert("1, 0, 8, 8.5, 8, 8.5, 8.5");
  Insert("3, 1, 1, 2.5, 13, 5.5, 0.75");
  Insert("4, 0, 7, 7.5, 7, 7.5, 7.5", kRun + 1);
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(2));
  ExpectEqual(records[0], {kRun, 0, 0, 3, 1.5F, 14, 4.5F, 0.5F});
  ExpectEqual(records[1], {kRun, 1, 1, 3, 2.5F, 13, 5.5F, 0.75F});
}

TEST_F(SubrunRecords, OfAVersionThatIsNullCountAsOldest) {
  Insert("NULL, 0, 9, 9.5, 9, 9.5, 9.5");
  Insert("-2, 1, 0, 1.5, 14, 4.5, 0.5");
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  ExpectEqual(records[0], {kRun, 1, 0, -2, 1.5F, 14, 4.5F, 0.5F});
}

TEST_F(SubrunRecords, OfNoOtherVersionThanNullAreThere) {
  Insert("NULL, 0, 9, 9.5, 9, 9.5, 9.5");
  Insert("NULL, 1, 8, 8.5, 8, 8.5, 8.5");
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(records[0].version, 0);
  EXPECT_EQ(records[1].version, 0);
}

TEST_F(SubrunRecords, KeepTheDefaultsOfWhatIsNull) {
  Insert("3, NULL, NULL, NULL, NULL, NULL, NULL");
  CapturedOutput output;
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  ExpectEqual(records[0], {kRun, -1, 0, 3, 0.0F, 0, 0.0F, 0.0F});
  EXPECT_EQ(output.StandardError(), "");
}

TEST_F(SubrunRecords, KeepTheDefaultsOfWhatIsMalformedAndSaySo) {
  databases.Execute(
      "ALTER TABLE dataquality.dqsubruninfo ALTER subrun TYPE integer, ALTER flag TYPE text, "
      "ALTER miprate TYPE text, ALTER ngooddb TYPE text, ALTER numslc TYPE text");
  Insert("3, 40000, '3.5', 'fast', '', '1e400', 1");
  Insert("3, 2, '-7', '1.5e2', '0014', '2.5E-1', 1");
  CapturedOutput output;
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(records[0].subrun, -1);
  EXPECT_EQ(records[0].flag, 0);
  EXPECT_EQ(records[0].miprate, 0.0F);
  EXPECT_EQ(records[0].ngooddb, 0);
  EXPECT_EQ(records[0].numslc, 0.0F) << "too large for a float";
  ExpectEqual(records[1], {kRun, 2, -7, 3, 150.0F, 14, 0.25F, 1.0F});
  const std::string prefix = "Column::Get(): Bad_lexical_cast! Value = ";
  EXPECT_EQ(output.StandardError(),
            prefix + "40000\n" + prefix + "3.5\n" + prefix + "fast\n" + prefix + "\n" + prefix + "1e400\n");
}

TEST_F(SubrunRecords, CarryTheRunNumberOfTheQuestion) {
  // A value that equals the run's number and reads otherwise.
  databases.Execute("ALTER TABLE dataquality.dqsubruninfo ALTER run TYPE numeric");
  databases.Execute("INSERT INTO dataquality.dqsubruninfo (run, version, subrun) VALUES (13001.0, 1, 5)");
  const auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ(records[0].run, kRun);
}

TEST_F(SubrunRecords, AreReadOnceAndCopied) {
  Insert("1, 0, 0, 1.5, 14, 4.5, 0.5");
  auto records = run.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  records[0].flag = 99;
  records.clear();
  Insert("2, 0, 7, 7.5, 7, 7.5, 7.5");
  const auto before = ConnectionStatistics::Now();
  const auto again = run.GetDQSubrunInfo();
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent);
  ASSERT_THAT(again, SizeIs(1));
  ExpectEqual(again[0], {kRun, 0, 0, 1, 1.5F, 14, 4.5F, 0.5F});
}

TEST_F(SubrunRecords, ThatAreNotThereAreNotAskedForAgain) {
  CapturedOutput output;
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  EXPECT_TRUE(Peer::LoadedFlags(run).dq);
  Insert("1, 0, 0, 1.5, 14, 4.5, 0.5");
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

TEST_F(SubrunRecords, ThatCannotBeReadAreNotAskedForAgain) {
  Insert("1, 0, 0, 1.5, 14, 4.5, 0.5");
  databases.Execute("ALTER TABLE dataquality.dqsubruninfo RENAME TO elsewhere");
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  EXPECT_TRUE(Peer::LoadedFlags(run).dq);
  databases.Execute("ALTER TABLE dataquality.elsewhere RENAME TO dqsubruninfo");
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  EXPECT_THAT(messages.All(), SizeIs(1));
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

TEST_F(SubrunRecords, StayInTheObjectUntilTheyAreAskedForAgain) {
  Insert("1, 0, 0, 1.5, 14, 4.5, 0.5");
  ASSERT_THAT(run.GetDQSubrunInfo(), SizeIs(1));
  run.SetRunNumber(kRun + 1);
  EXPECT_FALSE(Peer::LoadedFlags(run).dq);
  EXPECT_THAT(Peer::CachedDQSubrunInfo(run), SizeIs(1));
  EXPECT_THAT(run.GetDQSubrunInfo(), IsEmpty());
  EXPECT_THAT(Peer::CachedDQSubrunInfo(run), IsEmpty());
}

TEST_F(SubrunRecords, WithoutARightDefinitionFileThrowAndAreAskedForAgain) {
  Insert("1, 0, 0, 1.5, 14, 4.5, 0.5");
  {
    const OwnDefinitions definitions;
    EXPECT_THROW(run.GetDQSubrunInfo(), cet::exception);
    definitions.Write("RunHistory/tables/DQSubrunInfo.xml", "no table");
    EXPECT_THROW(run.GetDQSubrunInfo(), cet::exception);
  }
  EXPECT_FALSE(Peer::LoadedFlags(run).dq);
  EXPECT_THAT(run.GetDQSubrunInfo(), SizeIs(1));
}

TEST_F(SubrunRecords, AreAskedForWithoutColumnsThatNobodyReads) {
  const auto statements = StatementsOf([&] { run.GetDQSubrunInfo(); });
  ASSERT_THAT(statements, SizeIs(1));
  for (const char* column : {"comment", "inserttime", "insertuser"}) {
    EXPECT_THAT(statements[0], Not(HasSubstr(column)));
  }
  EXPECT_THAT(statements[0], HasSubstr("ORDER BY \"version\" DESC"));
  EXPECT_THAT(statements[0], Not(HasSubstr("\", \"subrun\" DESC")));
}

TEST_F(SubrunRecords, AreNotTimed) {
  run.SetTimeQueries(true);
  run.SetTimeParsing(true);
  const CapturedMessages messages("info");
  run.GetDQSubrunInfo();
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(SubrunRecords, OfSimulatedRunsAreLookedUpToo) {
  Insert("1, 5, 0, 1.5, 14, 4.5, 0.5", 99);
  RunHistory simulated(99, "Birch");
  const auto records = simulated.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ(records[0].run, 99);
  EXPECT_FALSE(simulated.IsMC()) << "nothing was built";
}

TEST_F(SubrunRecords, OfAnUnknownDetectorAreLookedForWhereItsNameLeads) {
  const EnvironmentVariable fixed("BRIO_DATABASE", server::ConnectionString(databases.Name()));
  Insert("1, 5, 0, 1.5, 14, 4.5, 0.5");
  RunHistory unknown;
  unknown.SetRunNumber(kRun);
  EXPECT_THAT(unknown.GetDQSubrunInfo(), SizeIs(1)) << "the name is not checked";
}

TEST(SampleSubrunRecords, AreTheNewestVersion) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  RunHistory ordinary(13001, "Birch");
  const auto records = ordinary.GetDQSubrunInfo();
  const auto rows =
      server::Query("small_birch",
                    "SELECT subrun, flag, miprate, ngooddb, numslc, trkfrac "
                    "FROM dataquality.dqsubruninfo WHERE run = 13001 AND version = 2 ORDER BY subrun");
  ASSERT_THAT(records, SizeIs(21));
  ASSERT_THAT(rows, SizeIs(21));
  for (const auto& record : records) {
    const auto& row = rows.at(static_cast<std::size_t>(record.subrun));
    ExpectEqual(record, {13001, static_cast<std::int16_t>(std::stoi(row[0])), std::stoi(row[1]), 2,
                         std::stof(row[2]), std::stoi(row[3]), std::stof(row[4]), std::stof(row[5])});
  }
}

TEST(SampleSubrunRecords, OfThreeVersionsWithNullsAreTwo) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  RunHistory odd(13017, "Birch");
  auto records = odd.GetDQSubrunInfo();
  ASSERT_THAT(records, SizeIs(2));
  if (records[0].subrun == 1) { std::swap(records[0], records[1]); }
  ExpectEqual(records[0], {13017, 0, 0, 3, 1.25F, 14, 4.5F, 0.875F});
  ExpectEqual(records[1], {13017, 1, 0, 3, 0.0F, 0, 0.0F, 0.0F});
}

}  // namespace
}  // namespace brio::test
