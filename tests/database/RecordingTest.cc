// A recorded session gives what it gives without a recorder, and the recorder hears of all of it.
#include <gmock/gmock.h>

#include "database/LoadScope.h"
#include "database/ResultStatus.h"
#include "database/RowDigest.h"
#include "database/Table.h"
#include "database/snapshot/AnswerSet.h"
#include "database/snapshot/Recording.h"
#include "database/snapshot/RecordingSession.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using snapshot::AnswerKey;
using snapshot::RecordedAnswer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Keeps what it is told.
class Notebook final : public snapshot::Recorder {
public:
  bool IsWanted(const AnswerKey& key) noexcept override { return answers.Find(key) == nullptr; }
  void Keep(const AnswerKey& key, RecordedAnswer answer, const SessionSource& source) override {
    if (refuses) { throw std::runtime_error("no room"); }
    ++kept;
    database = source.database;
    answers.Add(key, std::move(answer));
  }
  void NoteFailure(const snapshot::RecordedFailure& failure) noexcept override {
    failures.push_back(failure.statement + ": " + failure.reason);
  }
  const RecordedAnswer& Only() const { return answers.Entries().at(0).answer; }

  bool refuses = false;
  int kept = 0;
  std::string database;
  snapshot::AnswerSet answers;
  std::vector<std::string> failures;
};

class Recording : public testing::Test {
protected:
  std::shared_ptr<Session> Open() { return AcquireSession("Birch", DatabaseKind::Runs, 0); }

  test::EnvironmentVariable database_{"BRIO_DATABASE", test::server::Template("small")};
  std::shared_ptr<Notebook> notebook_ = std::make_shared<Notebook>();
  recording::OnThisThread on_{notebook_};
  test::CapturedMessages messages_;
};

std::vector<std::string> TextsOf(const PGresult* result) {
  std::vector<std::string> texts;
  for (int row = 0; row < PQntuples(result); ++row) {
    for (int column = 0; column < PQnfields(result); ++column) {
      texts.push_back(PQgetisnull(result, row, column) != 0 ? "NULL" : PQgetvalue(result, row, column));
    }
  }
  return texts;
}

constexpr const char* kStatement = "SELECT i AS number, NULLIF(i, 2) AS other FROM generate_series(1, 3) i";

TEST_F(Recording, GivesAndKeepsTheRowsOfAResult) {
  const auto result = Open()->Execute({kStatement, {}, false, 2});
  EXPECT_THAT(TextsOf(result.get()), ElementsAre("1", "1", "2", "NULL", "3", "3"));
  ASSERT_EQ(notebook_->kept, 1);
  EXPECT_TRUE(notebook_->Only().hasRows);
  EXPECT_EQ(notebook_->Only().rows.Count(), 3U);
  EXPECT_EQ(notebook_->Only().columns.at(1).name, "other");
  EXPECT_EQ(notebook_->database, "small_birch");
  EXPECT_THAT(notebook_->failures, IsEmpty());
}

TEST_F(Recording, GivesAndKeepsRowsThatAreTakenOneByOne) {
  const auto session = Open();
  std::vector<std::string> taken;
  const auto end = session->ExecuteByRow(
      {kStatement, {}, false, 2}, RowConsumer([&](const RowView& row) { taken.push_back(row.Text(1)); }));
  EXPECT_EQ(PQresultStatus(end.get()), PGRES_TUPLES_OK);
  EXPECT_THAT(taken, ElementsAre("1", "", "3"));
  EXPECT_EQ(session->LastGiven().count, 3);
  EXPECT_EQ(notebook_->Only().rows.Count(), 3U);
  EXPECT_EQ(notebook_->Only().columns.at(0).name, "number");
}

TEST_F(Recording, KeepsAnEmptyAnswerWithItsColumns) {
  Open()->Execute({"SELECT 1 AS one WHERE false", {}, false, 1});
  EXPECT_TRUE(notebook_->Only().hasRows);
  EXPECT_EQ(notebook_->Only().rows.Count(), 0U);
  EXPECT_EQ(notebook_->Only().columns.at(0).name, "one");
}

TEST_F(Recording, KeepsADigestInPlaceOfItsRows) {
  struct Sum : RowDigest {
    void Take(const RowView& row) override { sum += std::stoi(row.Text(0)); }
    std::string Name() const override { return "sum"; }
    std::string Bytes() const override { return std::to_string(sum); }
    bool Restore(std::string_view) override { return false; }
    int sum = 0;
  } digest;
  Open()->ExecuteByRow({kStatement, {}, false, 2}, digest);
  EXPECT_EQ(digest.sum, 6);
  ASSERT_TRUE(notebook_->Only().digest.has_value());
  EXPECT_EQ(notebook_->Only().digest->name, "sum");
  EXPECT_EQ(notebook_->Only().digest->bytes, "6");
  EXPECT_EQ(notebook_->Only().digest->rows, 3U);
  EXPECT_EQ(notebook_->Only().rows.Count(), 0U);
}

TEST_F(Recording, KeepsARepeatedStatementOnceAndTellsParametersAndFormApart) {
  const auto session = Open();
  const auto ask = [&](const char* parameter, bool binary) {
    session->Execute({"SELECT $1::int", {parameter}, binary, 1});
  };
  ask("1", false);
  ask("1", false);
  EXPECT_EQ(notebook_->kept, 1);
  ask("2", false);
  ask("1", true);
  EXPECT_EQ(notebook_->kept, 3);
}

TEST_F(Recording, NotesAStatementThatFailed) {
  const auto session = Open();
  const auto result = session->Execute({"SELECT nonsense", {}, false, 1});
  EXPECT_EQ(PQresultStatus(result.get()), PGRES_FATAL_ERROR);
  EXPECT_THAT(notebook_->failures, ElementsAre("SELECT nonsense: column \"nonsense\" does not exist"));
  // Rows that came before a failure are not an answer.
  session->ExecuteByRow({"SELECT 1 / (3 - i) FROM generate_series(1, 3) i", {}, false, 1},
                        RowConsumer([](const RowView&) {}));
  EXPECT_EQ(notebook_->failures.size(), 2U);
  EXPECT_EQ(notebook_->kept, 0);
}

TEST_F(Recording, NotesAnAnswerWithOtherColumnsThanWereAskedFor) {
  EXPECT_EQ(PQresultStatus(Open()->Execute({kStatement, {}, false, 3}).get()), PGRES_FATAL_ERROR);
  EXPECT_EQ(notebook_->failures.size(), 1U);
  EXPECT_EQ(notebook_->kept, 0);
}

TEST_F(Recording, NotesASessionThatCannotBeHad) {
  const test::EnvironmentVariable nowhere(
      "BRIO_DATABASE", "host=" + test::server::SocketFolder() + " dbname=there_is_none user=brio_reader");
  EXPECT_EQ(Open(), nullptr);
  EXPECT_THAT(notebook_->failures, ElementsAre(HasSubstr("cannot be reached")));
}

TEST_F(Recording, NotesAReaderThatThrowsAndLetsItThrow) {
  EXPECT_THROW(Open()->ExecuteByRow({kStatement, {}, false, 2},
                                    RowConsumer([](const RowView&) { throw std::runtime_error("enough"); })),
               std::runtime_error);
  EXPECT_EQ(notebook_->failures.size(), 1U);
  EXPECT_EQ(notebook_->kept, 0);
}

TEST_F(Recording, AnswersAlsoWhatCannotBeKept) {
  notebook_->refuses = true;
  const auto result = Open()->Execute({kStatement, {}, false, 2});
  EXPECT_EQ(PQntuples(result.get()), 3);
  EXPECT_THAT(notebook_->failures, ElementsAre(HasSubstr("no room")));
}

TEST_F(Recording, LeavesOneTransactionToALoad) {
  const LoadScope scope;
  const auto time = [&](DatabaseKind kind) {
    const auto session = AcquireSession("Birch", kind, 0);
    return TextsOf(session->Execute({"SELECT transaction_timestamp()", {}, false, 1}).get());
  };
  const auto runs = time(DatabaseKind::Runs);
  EXPECT_THAT(runs, testing::SizeIs(1));
  EXPECT_EQ(time(DatabaseKind::Hardware), runs);
  EXPECT_EQ(notebook_->kept, 2);
}

TEST(RecordingNobody, LeavesTheSessionAsItIs) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  const auto session = AcquireSession("Birch", DatabaseKind::Runs, 0);
  EXPECT_EQ(dynamic_cast<snapshot::RecordingSession*>(session.get()), nullptr);
}

}  // namespace
}  // namespace brio::dbi
