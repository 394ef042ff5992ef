#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::MatchesRegex;

/// A table "values" in the schema "kept", with a column of each type.
class Load : public test::OwnDatabase {
protected:
  Load() {
    scratch_.Execute(
        "CREATE SCHEMA kept; GRANT USAGE ON SCHEMA kept TO brio_reader;"
        "CREATE TABLE kept.values (run integer, small smallint, big bigint, single real, twice double "
        "precision,"
        "  good bool, name text, at timestamp); GRANT SELECT ON kept.values TO brio_reader;"
        "INSERT INTO kept.values VALUES"
        "  (7, -32768, 9223372036854775807, 0.1, 1e300, true, 'seven', '2016-03-01 07:59:59.5'),"
        "  (8, NULL, NULL, NULL, NULL, NULL, NULL, NULL),"
        "  (9, 40000 - 65536, 12, 2, 3, false, '', 'infinity'),"
        "  (NULL, 0, 0, 0, 0, true, 'no run', '2016-03-01')");
    table_ = std::make_unique<Table>(
        folder_
            .Write("values.xml",
                   "<table schema='kept' name='values'><column name='run' type='integer'/>"
                   "<column name='small' type='smallint'/><column name='big' type='bigint'/>"
                   "<column name='single' type='real'/><column name='twice' type='double precision'/>"
                   "<column name='good' type='bool'/><column name='name' type='text'/>"
                   "<column name='at' type='timestamp'/></table>")
            .c_str());
    table_->SetDetector("Birch");
  }

  std::string Text(int row, const char* column) const {
    const char* text = table_->GetRow(row)->Col(table_->GetColIndex(column)).Text();
    return text == nullptr ? "NULL" : text;
  }
  std::vector<std::string> Texts(const char* column) const {
    std::vector<std::string> texts;
    for (int row = 0; row < table_->NRow(); ++row) {
      texts.push_back(Text(row, column));
    }
    return texts;
  }
  /// Loads, and gives the one statement that it took.
  std::string Statement() {
    const test::RecordedSteps steps;
    EXPECT_TRUE(table_->Load());
    EXPECT_EQ(steps.Statements().size(), 1U);
    return steps.Statements().empty() ? "" : steps.Statements().front();
  }

  std::unique_ptr<Table> table_;
  const std::string kAll_ =
      R"(SELECT "run", "small", "big", "single", "twice", "good", "name", "at" FROM "kept"."values")";
};

TEST_F(Load, FetchesEveryColumnInItsTextForm) {
  table_->SetValidityRange<int>("run", 7);
  ASSERT_TRUE(table_->Load());
  ASSERT_EQ(table_->NRow(), 1);
  EXPECT_EQ(Text(0, "run"), "7");
  EXPECT_EQ(Text(0, "small"), "-32768");
  EXPECT_EQ(Text(0, "big"), "9223372036854775807");
  EXPECT_EQ(Text(0, "single"), "0.1");
  EXPECT_EQ(Text(0, "twice"), "1e+300");
  EXPECT_EQ(Text(0, "good"), "t");
  EXPECT_EQ(Text(0, "name"), "seven");
  EXPECT_EQ(table_->GetRow(1), nullptr);
  EXPECT_EQ(table_->GetRow(-1), nullptr);
}

TEST_F(Load, TellsNullFromAnEmptyText) {
  table_->SetValidityRange<int>("run", 8, 9);
  table_->AddOrderColumn("run");
  ASSERT_TRUE(table_->Load());
  EXPECT_THAT(Texts("name"), ElementsAre("NULL", ""));
  std::string name = "before";
  EXPECT_FALSE(table_->GetRow(0)->Col(6).Get(name));
  EXPECT_EQ(name, "before");
  EXPECT_TRUE(table_->GetRow(1)->Col(6).Get(name));
  EXPECT_EQ(name, "");
}

TEST_F(Load, ARangeTakesBothBoundsIn) {
  table_->SetValidityRange<int>("run", 7, 8);
  table_->AddOrderColumn("run");
  EXPECT_EQ(Statement(), kAll_ + R"( WHERE "run" >= $1 AND "run" <= $2 ORDER BY "run")");
  EXPECT_THAT(Texts("run"), ElementsAre("7", "8"));
}

TEST_F(Load, EqualBoundsAskForEquality) {
  table_->SetValidityRange<int>("run", 9);
  EXPECT_EQ(Statement(), kAll_ + R"( WHERE "run" = $1)");
  EXPECT_THAT(Texts("run"), ElementsAre("9"));
}

TEST_F(Load, RangesOfSeveralColumnsAllHold) {
  table_->SetValidityRange<int>("run", 7, 9);
  table_->SetValidityRange<int>("good", 1);
  EXPECT_EQ(Statement(), kAll_ + R"( WHERE "run" >= $1 AND "run" <= $2 AND "good" = $3)");
  EXPECT_THAT(Texts("run"), ElementsAre("7"));
}

TEST_F(Load, ARangeThatIsUpsideDownHasNoRows) {
  table_->SetValidityRange<int>("run", 9, 7);
  EXPECT_TRUE(table_->Load());
  EXPECT_EQ(table_->NRow(), 0);
}

TEST_F(Load, ARefusedRangeBesideAGoodOneLeavesThatInEffect) {
  EXPECT_TRUE(table_->SetValidityRange<int>("run", 7));
  EXPECT_FALSE(table_->SetValidityRange<int>("Run", 8));
  EXPECT_FALSE(table_->SetValidityRange<int>("good", 0, 1));
  const CapturedMessages messages;
  EXPECT_EQ(Statement(), kAll_ + R"( WHERE "run" = $1)");
  EXPECT_THAT(Texts("run"), ElementsAre("7"));
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(Load, ARefusedRangeAloneFetchesNothingUntilAGoodOneIsSet) {
  const CapturedMessages messages;
  for (const char* column : {"good", ""}) {
    EXPECT_FALSE(table_->SetValidityRange<int>(column, 0, 1));
    const test::RecordedSteps steps;
    EXPECT_FALSE(table_->Load());
    EXPECT_TRUE(steps.Steps().empty()) << "not even a connection";
    EXPECT_EQ(table_->NRow(), 0);
  }
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              testing::Each(testing::EndsWith("cannot be restricted by a column \"good\"")));
  EXPECT_EQ(messages.All().size(), 2U);
  EXPECT_TRUE(table_->SetValidityRange<int>("run", 9));
  EXPECT_TRUE(table_->Load());
  EXPECT_THAT(Texts("run"), ElementsAre("9"));
}

TEST_F(Load, WithoutARangeEveryRowComes) {
  EXPECT_EQ(Statement(), kAll_);
  EXPECT_EQ(table_->NRow(), 4);
}

TEST_F(Load, SortsAscendingWithNullsLast) {
  table_->AddOrderColumn("run");
  ASSERT_TRUE(table_->Load());
  EXPECT_THAT(Texts("run"), ElementsAre("7", "8", "9", "NULL"));
}

TEST_F(Load, SortsDescendingWithNullsLast) {
  table_->AddOrderColumn("run");
  table_->SetOrderDesc();
  EXPECT_EQ(Statement(), kAll_ + R"( ORDER BY "run" DESC NULLS LAST)");
  EXPECT_THAT(Texts("run"), ElementsAre("9", "8", "7", "NULL"));
}

TEST_F(Load, SortsByEachOrderColumnInTurn) {
  table_->AddOrderColumn("good");
  table_->AddOrderColumn(std::string("small"));
  table_->SetOrderDesc();
  EXPECT_EQ(Statement(), kAll_ + R"( ORDER BY "good" DESC NULLS LAST, "small" DESC NULLS LAST)");
  EXPECT_THAT(Texts("small"), ElementsAre("0", "-32768", "-25536", "NULL"));
}

TEST_F(Load, ExcludedColumnsAreNotFetchedAndKeepTheirIndex) {
  table_->AddExcludeCol("small");
  table_->AddExcludeCol("twice");
  table_->AddExcludeCol("nonsense");
  table_->SetValidityRange<int>("run", 7);
  EXPECT_EQ(Statement(), R"(SELECT "run", "big", "single", "good", "name", "at" FROM "kept"."values")"
                         R"( WHERE "run" = $1)");
  EXPECT_EQ(Text(0, "small"), "NULL");
  EXPECT_EQ(Text(0, "twice"), "NULL");
  EXPECT_EQ(Text(0, "big"), "9223372036854775807");
  EXPECT_EQ(Text(0, "name"), "seven");
}

TEST_F(Load, TheSubSchemaOverridesTheDefinitions) {
  scratch_.Execute(
      "CREATE SCHEMA other; GRANT USAGE ON SCHEMA other TO brio_reader;"
      "CREATE TABLE other.values AS SELECT * FROM kept.values WHERE run = 9;"
      "GRANT SELECT ON other.values TO brio_reader");
  table_->SetSubSchema("other");
  ASSERT_TRUE(table_->Load());
  EXPECT_THAT(Texts("run"), ElementsAre("9"));
}

TEST_F(Load, ASecondLoadSeesTheNewState) {
  table_->SetValidityRange<int>("run", 7);
  ASSERT_TRUE(table_->Load());
  scratch_.Execute("DELETE FROM kept.values WHERE run = 7; INSERT INTO kept.values VALUES (7, 1), (7, 2)");
  ASSERT_TRUE(table_->Load());
  EXPECT_EQ(table_->NRow(), 2);
}

TEST_F(Load, ThatFailsAfterOneThatWentWellLeavesNoRows) {
  ASSERT_TRUE(table_->Load());
  EXPECT_EQ(table_->NRow(), 4);
  scratch_.Execute("DROP TABLE kept.values");
  const CapturedMessages messages;
  EXPECT_FALSE(table_->Load());
  EXPECT_EQ(table_->NRow(), 0);
  EXPECT_EQ(table_->GetRow(0), nullptr);
  EXPECT_EQ(messages.All().size(), 1U);
}

TEST_F(Load, LogsTimesWhenAsked) {
  const CapturedMessages messages("info");
  table_->SetTimeQueries(true);
  table_->SetTimeParsing(true);
  ASSERT_TRUE(table_->Load());
  EXPECT_THAT(messages.Texts(Severity::Info, "BrioDatabase"),
              ElementsAre(MatchesRegex("query took [0-9.e-]+ ms: SELECT .*"),
                          MatchesRegex("parsing 4 rows of \"kept\".\"values\" took [0-9.e-]+ ms")));
}

TEST_F(Load, LogsNothingUnasked) {
  const CapturedMessages messages("debug");
  ASSERT_TRUE(table_->Load());
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(Load, QuotesNamesOfAnyKind) {
  scratch_.Execute(
      R"(CREATE SCHEMA "Odd ""schema"; GRANT USAGE ON SCHEMA "Odd ""schema" TO brio_reader;)"
      R"(CREATE TABLE "Odd ""schema"."x""; DROP TABLE facts; --" ("select" integer, "a ""b"", c" text);)"
      R"(GRANT SELECT ON "Odd ""schema"."x""; DROP TABLE facts; --" TO brio_reader;)"
      R"(INSERT INTO "Odd ""schema"."x""; DROP TABLE facts; --" VALUES (1, 'b'), (1, 'a'))");
  Table odd(
      folder_
          .Write("odd.xml",
                 R"(<table schema='Odd "schema' name='x"; DROP TABLE facts; --'>)"
                 R"(<column name='select' type='integer'/><column name='a "b", c' type='text'/></table>)")
          .c_str());
  odd.SetDetector("Birch");
  odd.SetValidityRange<int>("select", 1);
  odd.AddOrderColumn("a \"b\", c");
  ASSERT_TRUE(odd.Load());
  EXPECT_THAT(Notes(odd), ElementsAre("a", "b"));
}

}  // namespace
}  // namespace brio::dbi
