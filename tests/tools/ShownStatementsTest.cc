// show --explain and -v: which statements were sent, and what became of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

/// Those of a shown run that name a table.
nlohmann::json Naming(const nlohmann::json& shown, const std::string& table) {
  auto found = nlohmann::json::array();
  for (const auto& statement : shown["statements"]) {
    if (statement["statement"].get<std::string>().find(table) != std::string::npos) {
      found.push_back(statement);
    }
  }
  return found;
}

TEST(Explain, NamesEachStatementWithItsRowsAndDatabase) {
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "13000", "--explain"});
  for (const auto& statement : shown["statements"]) {
    EXPECT_EQ(statement["database"], "small_birch");
    EXPECT_EQ(statement["failed"], false);
    EXPECT_GT(statement["milliseconds"].get<double>(), 0);
    EXPECT_THAT(statement["statement"].get<std::string>(), Not(HasSubstr("\n")));
  }
  const auto runs = Naming(shown, "FROM \"daq\".\"runs\"");
  ASSERT_EQ(runs.size(), 1);
  EXPECT_EQ(runs[0]["rows"], 1);
  const auto subruns = Naming(shown, "FROM daq.subruns");
  ASSERT_EQ(subruns.size(), 1);
  EXPECT_EQ(subruns[0]["rows"], 20);
  EXPECT_EQ(subruns[0]["parameters"], nlohmann::json({"13000"}));
  // 168 DCMs and 140 event builders.
  EXPECT_EQ(Naming(shown, "FROM \"daq\".\"daqresourcesbyrun\"")[0]["rows"], 308);
}

TEST(Explain, HasATableBelowTheScreenAndItsSums) {
  const auto result = OnSmall("Birch", {"show", "--run", "13000", "--explain"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n     rows       ms  database     statement\n"));
  EXPECT_THAT(result.output,
              ContainsRegex("\n +20 +[0-9.]+  small_birch  SELECT subrun, tstart, tstop FROM "
                            "daq.subruns WHERE run = .1 ORDER BY subrun, tstart  ..1 = 13000.\n"));
  EXPECT_THAT(result.output, ContainsRegex("\n +[0-9]+ +[0-9.]+ +[0-9]+ statements\n$"));
  EXPECT_THAT(OnSmall("Birch", {"show", "--run", "13000"}).output, Not(HasSubstr("statements")));
}

TEST(Explain, TellsOfAStatementThatFailed) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON beam.potbyrun FROM PUBLIC, brio_reader");
  const auto arguments = OnDatabases(databases.Template(), "Birch", {"show", "--run", "13000", "--explain"});
  const auto result = RunHistoryCommand(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, ContainsRegex("\n   failed +[0-9.]+  [a-z0-9_]+  [^\n]*beam.potbyrun"));
}

TEST(Explain, TellsOfTheStatementsOfARunThatIsMissing) {
  const auto result = OnSmall("Birch", {"show", "--run", "14999", "--explain"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, ContainsRegex("\n +0 +[0-9.]+ +1 statement\n$"));
}

TEST(Explain, OfASnapshotTellsOfTheSameStatements) {
  const auto ofServer = JsonOnSmall("Birch", {"show", "--run", "13000", "--explain"})["statements"];
  const auto result = RunHistoryCommand({"show", "--detector", "Birch", "--run", "13000", "--explain",
                                         "--json", "--database", "snapshot:" BRIO_SAMPLE_SNAPSHOT});
  ASSERT_EQ(result.status, 0) << result.error;
  const auto ofFile = nlohmann::json::parse(result.output)["statements"];
  ASSERT_EQ(ofFile.size(), ofServer.size());
  for (std::size_t i = 0; i < ofFile.size(); ++i) {
    // A file holds the list of runs in its fullest form alone.
    const bool isList = ofServer[i]["statement"].get<std::string>().rfind("WITH listed AS", 0) == 0;
    if (!isList) {
      EXPECT_EQ(ofFile[i]["statement"], ofServer[i]["statement"]);
      EXPECT_EQ(ofFile[i]["parameters"], ofServer[i]["parameters"]);
    }
    EXPECT_EQ(ofFile[i]["rows"], ofServer[i]["rows"]) << ofFile[i]["statement"];
    EXPECT_EQ(ofFile[i]["database"], "sample.brio");
    EXPECT_EQ(ofFile[i]["failed"], false);
    EXPECT_GT(ofFile[i]["milliseconds"].get<double>(), 0);
  }
}

TEST(Verbose, TellsOfEveryStatementOnce) {
  const auto explained = JsonOnSmall("Birch", {"show", "--run", "13000", "--explain"});
  const auto result = OnSmall("Birch", {"show", "--run", "13000", "-v"});
  EXPECT_EQ(result.status, 0);
  std::size_t told = 0;
  for (auto at = result.error.find("statement: "); at != std::string::npos;
       at = result.error.find("statement: ", at + 1)) {
    ++told;
  }
  EXPECT_EQ(told, explained["statements"].size());
  EXPECT_THAT(result.error, ContainsRegex("\nstatement: small_birch, 20 rows, [0-9.]+ ms: SELECT subrun, "));
  EXPECT_THAT(result.error, Not(HasSubstr("query took")));
  EXPECT_THAT(OnSmall("Birch", {"show", "--run", "13000"}).error, Not(HasSubstr("statement: ")));
}

TEST(Verbose, TellsOfTheStatementsOfVerbsThatLoadNoRun) {
  const auto result = OnSmall("Birch", {"list", "--limit", "3", "-v"});
  EXPECT_THAT(result.error, ContainsRegex("statement: small_birch, 3 rows, [0-9.]+ ms: WITH listed AS"));
}

}  // namespace
}  // namespace brio::test
