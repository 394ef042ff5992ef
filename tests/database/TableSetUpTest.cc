#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/Table.h"
#include "framework/exception.h"
#include "tests/database/Fixtures.h"
#include "tests/support/Locale.h"
#include "tests/support/Output.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::TemporaryFolder;

class TableSetUp : public testing::Test {
protected:
  TemporaryFolder folder_;
  std::string file_ =
      folder_.Write("t.xml", R"(<table schema="s" name="t"><column name="run" type="integer"/>)"
                             R"(<column name="good" type="bool"/><column name="note" type="text"/></table>)");
  Table table_{file_.c_str()};
};

std::vector<std::string> Bounds(const std::vector<ColumnDef>& list) {
  std::vector<std::string> bounds;
  for (const auto& column : list) {
    bounds.push_back(column.Type() + " " + column.Name() + " " + column.Value());
  }
  return bounds;
}

using Texts = std::vector<std::string>;

TEST_F(TableSetUp, NumbersColumnsInDefinitionOrder) {
  EXPECT_EQ(table_.GetColIndex("run"), 0);
  EXPECT_EQ(table_.GetColIndex("good"), 1);
  EXPECT_EQ(table_.GetColIndex("note"), 2);
  EXPECT_EQ(table_.GetColNameToIndexMap(),
            (std::map<std::string, int>{{"run", 0}, {"good", 1}, {"note", 2}}));
}

TEST_F(TableSetUp, ExcludedColumnsKeepTheirPlace) {
  table_.AddExcludeCol("good");
  table_.AddExcludeCol("good");
  table_.AddExcludeCol("nonsense");
  EXPECT_EQ(table_.GetColIndex("note"), 2);
  EXPECT_EQ(table_.GetColNameToIndexMap().size(), 3U);
}

TEST_F(TableSetUp, SaysSoWhenAColumnIsAskedForThatItDoesNotHave) {
  const CapturedMessages messages;
  EXPECT_EQ(table_.GetColIndex("Run"), -1);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase"),
            Texts{file_ + ": the table \"t\" has no column \"Run\""});
}

TEST_F(TableSetUp, GivesColumnDefinitionsByName) {
  std::string name = "good";
  ColumnDef* column = table_.GetCol(name);
  ASSERT_NE(column, nullptr);
  EXPECT_EQ(column->Name(), "good");
  EXPECT_EQ(column->Type(), "bool");
  EXPECT_EQ(column->Value(), "");
  column->SetValue("1");
  EXPECT_EQ(table_.GetCol(name)->Value(), "1");
  EXPECT_EQ(table_.GetCol("goo"), nullptr);
}

TEST_F(TableSetUp, ATableWithoutDefinitionHasNoColumns) {
  Table table;
  EXPECT_EQ(table.GetCol("run"), nullptr);
  EXPECT_TRUE(table.GetColNameToIndexMap().empty());
  EXPECT_EQ(table.NRow(), 0);
  EXPECT_EQ(table.GetRow(0), nullptr);
}

TEST_F(TableSetUp, HasNoRowsBeforeALoad) {
  EXPECT_EQ(table_.NRow(), 0);
  EXPECT_EQ(table_.GetRow(0), nullptr);
  EXPECT_EQ(table_.GetRow(-1), nullptr);
}

TEST_F(TableSetUp, AValidityRangeIsKeptInTwoParallelLists) {
  EXPECT_FALSE(table_.HasValidityRange());
  EXPECT_TRUE(table_.SetValidityRange<int>("run", -5, 2147483647));
  EXPECT_TRUE(table_.HasValidityRange());
  EXPECT_EQ(Bounds(table_.ValidityLower()), Texts{"integer run -5"});
  EXPECT_EQ(Bounds(table_.ValidityUpper()), Texts{"integer run 2147483647"});
}

TEST_F(TableSetUp, ASingleValueIsARangeOfEqualBounds) {
  EXPECT_TRUE(table_.SetValidityRange<int>("run", 13000));
  EXPECT_EQ(Bounds(table_.ValidityLower()), Texts{"integer run 13000"});
  EXPECT_EQ(Bounds(table_.ValidityUpper()), Texts{"integer run 13000"});
}

TEST_F(TableSetUp, BoundsAreWrittenTheSameInEveryLocale) {
  const test::GlobalDecimalComma comma;
  EXPECT_TRUE(table_.SetValidityRange<int>("run", -2147483647, 2147483647));
  EXPECT_TRUE(table_.SetValidityRange<double>("note", 1234.5, 1e6));
  EXPECT_TRUE(table_.SetValidityRange<char>("good", 'A'));
  EXPECT_EQ(Bounds(table_.ValidityLower()),
            (Texts{"integer run -2147483647", "text note 1234.500000", "bool good 65"}));
  EXPECT_EQ(Bounds(table_.ValidityUpper()),
            (Texts{"integer run 2147483647", "text note 1000000.000000", "bool good 65"}));
}

TEST_F(TableSetUp, ASecondRangeOfAColumnReplacesTheFirst) {
  EXPECT_TRUE(table_.SetValidityRange<int>("run", 1, 2));
  EXPECT_TRUE(table_.SetValidityRange<int>("good", 1));
  EXPECT_TRUE(table_.SetValidityRange<int>("run", 30, 40));
  EXPECT_EQ(Bounds(table_.ValidityLower()), (Texts{"integer run 30", "bool good 1"}));
  EXPECT_EQ(Bounds(table_.ValidityUpper()), (Texts{"integer run 40", "bool good 1"}));
}

TEST_F(TableSetUp, ABooleanColumnTakesOneValueOnly) {
  EXPECT_FALSE(table_.SetValidityRange<int>("good", 5, 7));
  EXPECT_TRUE(table_.ValidityLower().empty());
  EXPECT_TRUE(table_.ValidityUpper().empty());
  EXPECT_FALSE(table_.HasValidityRange());
  EXPECT_TRUE(table_.SetValidityRange<int>("good", 5, 5));
  EXPECT_EQ(Bounds(table_.ValidityLower()), Texts{"bool good 5"});
  EXPECT_FALSE(table_.SetValidityRange<int>("good", 0, 1));
  EXPECT_EQ(Bounds(table_.ValidityLower()), Texts{"bool good 5"});
  EXPECT_EQ(Bounds(table_.ValidityUpper()), Texts{"bool good 5"});
}

TEST_F(TableSetUp, AColumnOfTypeBooleanTakesARangeSinceOnlyBoolIsRefused) {
  Table table(folder_.Write("b.xml", "<table name='t'><column name='good' type='boolean'/></table>").c_str());
  EXPECT_TRUE(table.SetValidityRange<int>("good", 0, 1));
  EXPECT_EQ(Bounds(table.ValidityLower()), Texts{"boolean good 0"});
  EXPECT_EQ(Bounds(table.ValidityUpper()), Texts{"boolean good 1"});
}

TEST_F(TableSetUp, AnUnknownColumnTakesNoRange) {
  EXPECT_FALSE(table_.SetValidityRange<int>("Run", 1, 2));
  EXPECT_FALSE(table_.SetValidityRange<int>("", 1));
  EXPECT_TRUE(table_.ValidityLower().empty());
  EXPECT_FALSE(table_.HasValidityRange());
}

TEST_F(TableSetUp, DoesNotLoadMoreThanWasAskedForWhenARestrictionCouldNotBeSet) {
  table_.SetDetector("Birch");
  EXPECT_FALSE(table_.SetValidityRange<int>("Run", 1));
  const CapturedMessages messages;
  EXPECT_FALSE(table_.Load());
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase"),
            Texts{file_ + ": the table \"t\" cannot be restricted by a column \"Run\""});
}

TEST_F(TableSetUp, AColumnWithoutANameRestrictsNothingEither) {
  table_.SetDetector("Birch");
  EXPECT_FALSE(table_.SetValidityRange<int>("", 1));
  const CapturedMessages messages;
  EXPECT_FALSE(table_.Load());
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase"),
            Texts{file_ + ": the table \"t\" cannot be restricted by a column \"\""});
}

TEST_F(TableSetUp, ATableWithoutDefinitionCannotBeLoaded) {
  Table table;
  table.SetDetector("Birch");
  const CapturedMessages messages;
  EXPECT_FALSE(table.Load());
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase"),
            Texts{"a table without a definition cannot be loaded"});
}

TEST_F(TableSetUp, OrderColumnsAreTakenInBothForms) {
  EXPECT_TRUE(table_.AddOrderColumn("run"));
  EXPECT_TRUE(table_.AddOrderColumn(std::string("note")));
}

TEST_F(TableSetUp, NullPointersAreRefused) {
  const auto thrown = [](const auto& action) -> std::string {
    try {
      action();
    } catch (const cet::exception& error) { return error.what(); }
    return "nothing";
  };
  EXPECT_EQ(thrown([] { Table table(nullptr); }),
            "BrioDatabase: a table was asked for with a null pointer for its definition file");
  const char* column = nullptr;
  EXPECT_EQ(thrown([&] { table_.AddOrderColumn(column); }),
            "BrioDatabase: the table \"t\" was given a null pointer for a column to sort by");
  EXPECT_NE(thrown([&] { table_.AddOrderColumn(nullptr); }), "nothing");
}

TEST(Table, ReadsEveryDefinitionFileOfTheRunTables) {
  const std::map<std::string, std::vector<std::string>> wanted{
      {"Runs",
       {"run", "tstart", "tstop", "configid", "nsubruns", "nactivechan", "partition", "runtype", "nevents",
        "begin_comment", "end_comment", "shifter"}},
      {"Subruns", {}},
      {"DAQResourcesByRun", {"run", "resource_type", "appname", "detector"}},
      {"GoodDiBlocksVsRun", {"run", "dbmask", "inserttime"}},
      {"POTByRun", {"run", "npot"}},
      {"DQSubrunInfo",
       {"run", "version", "subrun", "flag", "miprate", "ngooddb", "numslc", "trkfrac", "comment",
        "inserttime", "insertuser"}}};
  for (const auto& [file, columns] : wanted) {
    Table table(("RunHistory/tables/" + file + ".xml").c_str());
    for (const auto& column : columns) {
      EXPECT_GE(table.GetColIndex(column), 0) << file;
    }
    if (!columns.empty()) { EXPECT_TRUE(table.SetValidityRange<int>("run", 13000)) << file; }
  }
}

}  // namespace
}  // namespace brio::dbi
