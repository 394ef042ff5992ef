#include "arrays/Runs.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "database/ConnectionStatistics.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using arrays::ListRuns;
using arrays::RunLine;
using arrays::RunSelection;
using arrays::Status;
using testing::ElementsAre;
using testing::HasSubstr;

class Runs : public testing::Test {
protected:
  static std::vector<int> Numbers(const RunSelection& selection, const std::string& detector = "Birch") {
    std::vector<int> numbers;
    const auto runs = ListRuns(detector, selection);
    if (!runs) { return {-1}; }
    for (const auto& line : *runs) {
      numbers.push_back(line.run);
    }
    return numbers;
  }
  static RunLine Line(int run, const std::string& detector = "Birch") {
    RunSelection selection;
    selection.first = selection.last = run;
    selection.withResources = selection.withPOT = selection.withMasks = true;
    const auto runs = ListRuns(detector, selection);
    return runs && runs->size() == 1 ? runs->front() : RunLine();
  }

  EnvironmentVariable address_{"BRIO_DATABASE", server::Template("small")};
};

TEST_F(Runs, AreAllThere) {
  std::vector<int> wanted;
  for (int run = 13000; run <= 13040; ++run) {
    wanted.push_back(run);
  }
  EXPECT_EQ(Numbers({}), wanted);
  EXPECT_THAT(Numbers({}, "Alder"), ElementsAre(11000, 11001, 11002, 11003));
}

TEST_F(Runs, AreSelectedByNumberTimeAndColumns) {
  RunSelection byNumber;
  byNumber.first = 13038;
  byNumber.last = 99999;
  EXPECT_THAT(Numbers(byNumber), ElementsAre(13038, 13039, 13040));
  RunSelection newest;
  newest.newest = 2;
  EXPECT_THAT(Numbers(newest), ElementsAre(13039, 13040));
  RunSelection byTime;
  byTime.since = "2014-06-10 03:00:00";
  byTime.until = "2016-03-01 03:00:00";
  EXPECT_THAT(Numbers(byTime), ElementsAre(13000, 13001));
  RunSelection byPartition;
  byPartition.partition = 2;
  EXPECT_THAT(Numbers(byPartition), ElementsAre(13030));
  RunSelection byConfiguration;
  byConfiguration.configuration = 9999;
  EXPECT_THAT(Numbers(byConfiguration), ElementsAre(13015));
  RunSelection byType;
  byType.type = server::Value("small_birch", "SELECT runtype FROM daq.runs WHERE run = 13033");
  EXPECT_THAT(Numbers(byType), ElementsAre(13033));
  RunSelection byColumns;
  byColumns.where = {{"nsubruns", ">=", "21"}, {"run", "<", "13003"}};
  EXPECT_THAT(Numbers(byColumns), ElementsAre(13001, 13002));
}

TEST_F(Runs, AreFoundByATimeAtWhichTheyWereGoingOn) {
  RunSelection at;
  at.at = "2014-06-10 03:00:00";
  EXPECT_THAT(Numbers(at), ElementsAre(13000));
  at.at = "2014-06-10 11:49:59";
  EXPECT_THAT(Numbers(at), ElementsAre(13000));
  at.at = "2014-06-10 11:50:00";
  EXPECT_THAT(Numbers(at), ElementsAre());
  const auto start = server::Value("small_birch",
                                   "SELECT to_char(tstart + interval '20 hours', 'YYYY-MM-DD HH24:MI:SS') "
                                   "FROM daq.runs WHERE run = 13004");
  at.at = start;  // it has no stop, and goes on until the next
  EXPECT_THAT(Numbers(at), ElementsAre(13004));
  at.at = server::Value("small_birch",
                        "SELECT to_char(tstart, 'YYYY-MM-DD HH24:MI:SS') FROM daq.runs WHERE run = 13006");
  EXPECT_THAT(Numbers(at), ElementsAre(13006));
}

TEST_F(Runs, CarryWhatTheirTablesHold) {
  const auto line = Line(13000);
  EXPECT_EQ(line.run, 13000);
  EXPECT_EQ(line.start.value, "2014-06-10 03:00:00");
  EXPECT_EQ(line.stop.value, "2014-06-10 11:50:00");
  EXPECT_EQ(line.configuration.value, 1001);
  EXPECT_EQ(line.duration.value, 31800);
  EXPECT_EQ(line.subruns.value, 20);
  EXPECT_EQ(line.diblocks.value, 14);
  EXPECT_EQ(line.dcms.value, 168);
  EXPECT_EQ(line.pot.status, Status::Known);
  EXPECT_EQ(line.goodDiBlocks.value, 16383);
  EXPECT_EQ(Line(13010).goodDiBlocks.value, 0x3DBF);
}

TEST_F(Runs, SayWhatIsNotRecorded) {
  const auto line = Line(13005);
  EXPECT_EQ(line.run, 13005);
  for (const auto status : {line.start.status, line.stop.status, line.type.status, line.partition.status,
                            line.configuration.status, line.subruns.status}) {
    EXPECT_EQ(status, Status::NotRecorded);
  }
  EXPECT_EQ(Line(13004).stop.status, Status::NotRecorded);
  EXPECT_EQ(Line(13004).duration.status, Status::NotRecorded);
  EXPECT_EQ(Line(13006).dcms.status, Status::NotInRun);
  EXPECT_EQ(Line(13006).pot.status, Status::Known);
  EXPECT_EQ(Line(13008).pot.status, Status::NotRecorded);
  EXPECT_EQ(Line(13008).goodDiBlocks.status, Status::NotRecorded);
  EXPECT_EQ(Line(13009).goodDiBlocks.status, Status::NotRecorded);
  EXPECT_EQ(Line(13009).pot.status, Status::NotRecorded);
  EXPECT_EQ(Line(13012).diblocks.status, Status::RunNotLoaded);
}

TEST_F(Runs, CountWhatALoadFinds) {
  const CapturedOutput output;
  const CapturedMessages messages("error");
  for (const auto& [detector, number] : std::vector<std::pair<std::string, int>>{{"Birch", 13000},
                                                                                 {"Birch", 13003},
                                                                                 {"Birch", 13011},
                                                                                 {"Birch", 13016},
                                                                                 {"Birch", 13017},
                                                                                 {"Birch", 13025},
                                                                                 {"Alder", 11000},
                                                                                 {"Alder", 11002},
                                                                                 {"Cedar", 12000}}) {
    dbi::RunHistory run(number, detector);
    run.LoadDAQRunHistory();
    run.LoadPOT();
    const auto line = Line(number, detector);
    EXPECT_EQ(line.diblocks.value, static_cast<int>(run.GetDiBlocks().size())) << number;
    EXPECT_EQ(line.dcms.value, static_cast<int>(run.NDCMs())) << number;
    EXPECT_EQ(line.pot.value, run.GetTotalPOT()) << number;
    EXPECT_EQ(line.start.value, run.TStartAsString());
    EXPECT_EQ(line.configuration.value, run.GetConfigId());
    EXPECT_EQ(line.type.value, run.GetRunType());
  }
}

TEST_F(Runs, CountNoMoreResourcesThanIsWanted) {
  RunSelection selection;
  selection.withResources = true;
  selection.mostWithResources = 40;
  EXPECT_EQ(ListRuns("Birch", selection)->front().diblocks.status, Status::NotAsked);
  selection.mostWithResources = 41;
  EXPECT_EQ(ListRuns("Birch", selection)->front().diblocks.value, 14);
}

TEST_F(Runs, TakeTimesWithTheirZone) {
  RunSelection selection;
  selection.since = "2014-06-10 08:30:00+05:30";
  selection.until = "2014-06-10T03:00:01Z";
  EXPECT_THAT(Numbers(selection), ElementsAre(13000));
  RunSelection byColumn;
  byColumn.where = {{"tstart", "=", "2014-06-10 00:00:00-03"}};
  EXPECT_THAT(Numbers(byColumn), ElementsAre(13000));
}

TEST(RunConditions, AreAColumnAComparisonAndAValue) {
  for (const std::string text : {"nsubruns>=21", "nsubruns >= 21", " nsubruns  >=  21 "}) {
    const auto condition = arrays::ConditionIn(text);
    EXPECT_EQ(condition.column, "nsubruns");
    EXPECT_EQ(condition.comparison, ">=");
    EXPECT_EQ(condition.value, "21");
  }
  EXPECT_EQ(arrays::ConditionIn("shifter = A. N. Other").value, "A. N. Other");
  for (const std::string text : {"", "nsubruns", "nsubruns >=", "run =="}) {
    EXPECT_THROW(arrays::ConditionIn(text), std::invalid_argument) << text;
  }
}

TEST_F(Runs, AreAskedForInOneStatement) {
  RunSelection selection;
  selection.withResources = selection.withPOT = selection.withMasks = true;
  const auto before = dbi::ConnectionStatistics::Now();
  EXPECT_EQ(Numbers(selection).size(), 41U);
  const auto after = dbi::ConnectionStatistics::Now();
  EXPECT_EQ(after.connectionsOpened - before.connectionsOpened, 1);
  EXPECT_EQ(after.statementsSent - before.statementsSent, 1);
}

TEST_F(Runs, RefuseColumnsAndComparisonsThatThereAreNot) {
  RunSelection selection;
  selection.where = {{"run; DROP", "=", "1"}};
  EXPECT_THROW(ListRuns("Birch", selection), std::invalid_argument);
  selection.where = {{"run", "= 1 OR 1 =", "1"}};
  EXPECT_THROW(ListRuns("Birch", selection), std::invalid_argument);
  selection.where = {{"runtype", "=", "' OR '1'='1"}};
  EXPECT_THAT(Numbers(selection), ElementsAre());
}

TEST_F(Runs, AreNotHadWhenTheServerRefusesAValue) {
  const CapturedMessages messages("error");
  RunSelection selection;
  selection.since = "yesteryear";
  selection.withResources = selection.withPOT = true;
  EXPECT_FALSE(ListRuns("Birch", selection));
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.All().front().text, HasSubstr("yesteryear"));
}

TEST_F(Runs, AreListedWithoutTablesThatCannotBeRead) {
  const CapturedMessages messages("error");
  const ScratchDatabases databases("small");
  databases.Execute("REVOKE ALL ON beam.potbyrun FROM PUBLIC; REVOKE ALL ON beam.potbyrun FROM brio_reader");
  const EnvironmentVariable address("BRIO_DATABASE", databases.Template());
  const auto line = Line(13000);
  EXPECT_EQ(line.run, 13000);
  EXPECT_EQ(line.dcms.value, 168);
  EXPECT_EQ(line.pot.status, Status::RunNotLoaded);
  databases.Execute("REVOKE ALL ON daq.daqresourcesbyrun FROM PUBLIC, brio_reader");
  EXPECT_EQ(Line(13000).start.value, "2014-06-10 03:00:00");
  EXPECT_EQ(Line(13000).dcms.status, Status::RunNotLoaded);
  EXPECT_EQ(Line(13000).goodDiBlocks.value, 16383);
  databases.Execute("GRANT SELECT ON beam.potbyrun TO brio_reader");
  EXPECT_EQ(Line(13000).dcms.status, Status::RunNotLoaded);
  EXPECT_GT(Line(13000).pot.value, 0.0F);
}

}  // namespace
}  // namespace brio::test
