// Answers that went through a file: in every form a reader can ask for, they are what the server gave.
#include <climits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/PerformPGQuery.h"
#include "database/RowDigest.h"
#include "tests/database/snapshot/Snapshots.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::DatabaseKind;
using dbi::snapshot::ResultColumn;
using dbi::snapshot::SnapshotWriter;
using testing::ElementsAre;
using testing::IsEmpty;

class SnapshotAnswers : public testing::Test {
protected:
  void Save(const ValueRows& rows, const std::vector<ResultColumn>& columns, const std::string& text = "q") {
    SnapshotWriter writer(path_);
    writer.Add(Key(text), columns, Recorded(rows));
    writer.Commit();
  }
  static std::shared_ptr<dbi::Session> Session(DatabaseKind kind = DatabaseKind::Runs,
                                               const std::string& detector = "Birch") {
    return dbi::AcquireSession(detector, kind, 0);
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.Path() + "/file.brio";
  EnvironmentVariable database_{"BRIO_DATABASE", "snapshot:" + path_};
};

TEST_F(SnapshotAnswers, HaveTheirRows) {
  const ValueRows rows{{"1", "one"}, {"2", std::nullopt}, {"3", ""}, {"4", std::string(100'000, 'x')}};
  Save(rows, TextColumns(2));
  EXPECT_EQ(RowsOf(*Session(), Asked("q")), rows);
}

TEST_F(SnapshotAnswers, HaveBytesOfAnyKind) {
  std::string bytes;
  for (int i = 0; i < 512; ++i) {
    bytes += static_cast<char>(i);
  }
  Save({{bytes}, {std::string(3, '\0')}}, {{"b", 17, -1, -1, 1, 0, 0}});
  EXPECT_EQ(RowsOf(*Session(), Asked("q")), (ValueRows{{bytes}, {std::string(3, '\0')}}));
}

/// Values that repeat are kept once, numbered with one, two or four bytes.
TEST_F(SnapshotAnswers, HaveRowsWhoseValuesRepeat) {
  for (const int distinct : {1, 2, 256, 257, 65'536, 65'537}) {
    ValueRows rows;
    for (int i = 0; i < 5 * distinct; ++i) {
      const int number = i % distinct;
      rows.push_back({number == 0 ? Value() : Value(std::to_string(number)), std::to_string(i)});
    }
    Save(rows, TextColumns(2));
    EXPECT_TRUE(RowsOf(*Session(), Asked("q")) == rows) << distinct;
  }
}

TEST_F(SnapshotAnswers, WithoutRowsAreAnswersStill) {
  Save({}, TextColumns(2));
  EXPECT_EQ(RowsOf(*Session(), Asked("q")), ValueRows());
}

TEST_F(SnapshotAnswers, AreResultsOfLibpqForClients) {
  const std::vector<ResultColumn> columns{{"id", 23, 4, -1, 0, 16'384, 1},
                                          {"note", 1043, -1, 14, 0, 16'384, 2}};
  Save({{"1", "one"}, {"2", std::nullopt}}, columns);
  const auto result = Session()->Execute(Asked("q"));
  ASSERT_EQ(PQresultStatus(result.get()), PGRES_TUPLES_OK);
  ASSERT_EQ(PQntuples(result.get()), 2);
  ASSERT_EQ(PQnfields(result.get()), 2);
  EXPECT_STREQ(PQgetvalue(result.get(), 0, 1), "one");
  EXPECT_TRUE(PQgetisnull(result.get(), 1, 1));
  EXPECT_FALSE(PQgetisnull(result.get(), 1, 0));
  for (int i = 0; i < 2; ++i) {
    const auto& column = columns[static_cast<std::size_t>(i)];
    EXPECT_EQ(PQfname(result.get(), i), column.name);
    EXPECT_EQ(PQftype(result.get(), i), column.type);
    EXPECT_EQ(PQfsize(result.get(), i), column.size);
    EXPECT_EQ(PQfmod(result.get(), i), column.modifier);
    EXPECT_EQ(PQfformat(result.get(), i), column.format);
    EXPECT_EQ(PQftable(result.get(), i), column.table);
    EXPECT_EQ(PQftablecol(result.get(), i), column.tableColumn);
  }
}

TEST_F(SnapshotAnswers, AreGivenRowByRow) {
  Save({{"1"}, {"2"}, {std::nullopt}}, TextColumns(1));
  std::vector<std::string> seen;
  const auto session = Session();
  const auto end = session->ExecuteByRow(
      Asked("q"), [&](const dbi::RowView& row) { seen.emplace_back(row.IsNull(0) ? "NULL" : row.Text(0)); });
  EXPECT_THAT(seen, ElementsAre("1", "2", "NULL"));
  EXPECT_EQ(PQresultStatus(end.get()), PGRES_TUPLES_OK);
  EXPECT_EQ(PQntuples(end.get()), 0);
  EXPECT_STREQ(PQfname(end.get(), 0), "a");
  EXPECT_EQ(session->LastGiven().count, 3);
}

TEST_F(SnapshotAnswers, OfStatementsWithoutRowsSayThatTheyWentWell) {
  SnapshotWriter writer(path_);
  writer.AddCommand(Key("q"));
  writer.Commit();
  EXPECT_EQ(PQresultStatus(Session()->Execute(Asked("q")).get()), PGRES_COMMAND_OK);
  const auto answer = Session()->Ask(Asked("q"));
  EXPECT_TRUE(answer.wasSent);
  EXPECT_FALSE(answer.rows);
}

TEST_F(SnapshotAnswers, AreFoundByAllThatWasAsked) {
  SnapshotWriter writer(path_);
  const auto add = [&](const std::string& detector, DatabaseKind kind, const dbi::Statement& statement,
                       const std::string& value) {
    writer.Add({detector, kind, statement}, TextColumns(1), Recorded({{value}}));
  };
  add("Birch", DatabaseKind::Runs, Asked("q"), "1");
  add("Alder", DatabaseKind::Runs, Asked("q"), "2");
  add("Birch", DatabaseKind::Hardware, Asked("q"), "3");
  add("Birch", DatabaseKind::Runs, Asked("q "), "4");
  add("Birch", DatabaseKind::Runs, Asked("q", {""}), "5");
  add("Birch", DatabaseKind::Runs, Asked("q", {"1", "2"}), "6");
  add("Birch", DatabaseKind::Runs, Asked("q", {"12"}), "7");
  add("Birch", DatabaseKind::Runs, Asked("q", {}, true), "8");
  writer.Commit();
  const auto value = [&](dbi::Session& session, const dbi::Statement& statement) {
    const auto rows = RowsOf(session, statement);
    return rows ? rows->at(0).at(0).value_or("NULL") : "no answer";
  };
  const auto birch = Session();
  EXPECT_EQ(value(*birch, Asked("q")), "1");
  EXPECT_EQ(value(*Session(DatabaseKind::Runs, "BIRCH"), Asked("q")), "1");
  EXPECT_EQ(value(*Session(DatabaseKind::Runs, "Alder"), Asked("q")), "2");
  EXPECT_EQ(value(*Session(DatabaseKind::Hardware), Asked("q")), "3");
  EXPECT_EQ(value(*birch, Asked("q ")), "4");
  EXPECT_EQ(value(*birch, Asked("q", {""})), "5");
  EXPECT_EQ(value(*birch, Asked("q", {"1", "2"})), "6");
  EXPECT_EQ(value(*birch, Asked("q", {"12"})), "7");
  EXPECT_EQ(value(*birch, Asked("q", {}, true)), "8");
  CapturedMessages messages("error");
  EXPECT_EQ(value(*birch, Asked("q", {"3"})), "no answer");
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("snapshot " + path_ +
                          ", saved by version " BRIO_VERSION
                          " in format 1, does not hold the answer to: q [$1 = '3']"));
}

TEST_F(SnapshotAnswers, OfOtherColumnsThanAskedForAreFailures) {
  Save({{"1"}}, TextColumns(1));
  const auto session = Session();
  auto statement = Asked("q");
  statement.columns = 2;
  CapturedMessages messages("error");
  EXPECT_EQ(PQresultStatus(session->Execute(statement).get()), PGRES_FATAL_ERROR);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("the answer has 1 columns where 2 were asked for; the connection is closed: q"));
  EXPECT_FALSE(session->IsUsable());
}

TEST_F(SnapshotAnswers, CannotBeAskedForInsideARowOfAnother) {
  Save({{"1"}}, TextColumns(1));
  const auto session = Session();
  CapturedMessages messages("error");
  int rows = 0;
  session->ExecuteByRow(Asked("q"), [&](const dbi::RowView&) {
    ++rows;
    EXPECT_EQ(session->Execute(Asked("q")), nullptr);
    session->Close();
    EXPECT_TRUE(session->IsUsable());
  });
  EXPECT_EQ(rows, 1);
  EXPECT_FALSE(session->IsUsable());
  EXPECT_THAT(
      messages.Texts(Severity::Error, "BrioDatabase"),
      ElementsAre("a statement was not sent, since its connection is still giving the rows of another: q"));
}

TEST_F(SnapshotAnswers, EndWithWhatTheirConsumerThrows) {
  Save({{"1"}, {"2"}}, TextColumns(1));
  const auto session = Session();
  EXPECT_THROW(session->ExecuteByRow(Asked("q"), [](const dbi::RowView&) { throw std::runtime_error("no"); }),
               std::runtime_error);
  EXPECT_FALSE(session->IsUsable());
}

TEST_F(SnapshotAnswers, ServeTablesAndHandWrittenStatements) {
  Save({{"1"}, {"2"}}, TextColumns(1), "select a");
  dbi::Table table;
  table.SetDetector("Birch");
  CapturedMessages messages("info");
  dbi::ResultHandle result(dbi::PerformPGQuery("select a", table));
  ASSERT_NE(result, nullptr);
  EXPECT_STREQ(PQgetvalue(result.get(), 1, 0), "2");
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"),
              ElementsAre("about to execute query\nselect a", "query returned 2 rows"));
  EXPECT_EQ(dbi::PerformPGQuery("select b", table), nullptr);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"), ElementsAre("Query failed: select b"));
}

/// Keeps the sum of its rows.
class Sum : public dbi::RowDigest {
public:
  explicit Sum(std::string name = "sum") : name_(std::move(name)) {}
  void Take(const dbi::RowView& row) override { sum_ += std::stol(row.Text(0)); }
  std::string Name() const override { return name_; }
  std::string Bytes() const override { return std::to_string(sum_); }
  bool Restore(std::string_view bytes) override {
    sum_ = std::atol(std::string(bytes).c_str());
    return sum_ != 0;
  }
  long Get() const { return sum_; }

private:
  std::string name_;
  long sum_ = 0;
};

class SnapshotDigests : public SnapshotAnswers {
protected:
  void SaveDigest(const std::string& name, const std::string& bytes) {
    SnapshotWriter writer(path_);
    writer.AddDigest(Key("select a"), TextColumns(1), 1'000, name, bytes);
    writer.Commit();
  }
  std::optional<int> Pull(Sum& sum) {
    table_.SetDetector("Birch");
    return dbi::PerformPGQuery("select a", table_, sum, 1);
  }
  dbi::Table table_;
};

TEST_F(SnapshotDigests, StandInPlaceOfRowsThatAreCounted) {
  SaveDigest("sum", "42");
  CapturedMessages messages("info");
  Sum sum;
  EXPECT_EQ(Pull(sum), 1'000);
  EXPECT_EQ(sum.Get(), 42);
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"),
              ElementsAre("about to execute query\nselect a", "query returned 1000 rows"));
}

TEST_F(SnapshotDigests, AreMadeOfRowsWhereTheseWereKept) {
  Save({{"40"}, {"2"}}, TextColumns(1), "select a");
  Sum sum;
  EXPECT_EQ(Pull(sum), 2);
  EXPECT_EQ(sum.Get(), 42);
}

TEST_F(SnapshotDigests, OfAnotherNameOrFormAreFailures) {
  SaveDigest("sum", "42");
  CapturedMessages messages("error");
  Sum other("product");
  EXPECT_EQ(Pull(other), std::nullopt);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("snapshot " + path_ + " holds \"sum\" where \"product\" is needed"));
  SaveDigest("sum", "nonsense");
  table_.CloseConnection();
  Sum sum;
  EXPECT_EQ(Pull(sum), std::nullopt);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").back(),
            "snapshot " + path_ + " is damaged: its \"sum\" cannot be read");
}

TEST_F(SnapshotDigests, AreNoRows) {
  SaveDigest("sum", "42");
  CapturedMessages messages("error");
  EXPECT_EQ(PQresultStatus(Session()->Execute(Asked("select a")).get()), PGRES_FATAL_ERROR);
  EXPECT_FALSE(Session()->Ask(Asked("select a")).rows);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").at(0),
            "snapshot " + path_ + " does not hold the rows of this answer, only \"sum\": select a");
}

}  // namespace
}  // namespace brio::test
