// Which runs a snapshot holds: what it lacks is a failure, never an answer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/snapshot/SnapshotFile.h"
#include "framework/exception.h"
#include "tests/database/snapshot/Snapshots.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::DatabaseKind;
using dbi::snapshot::RunState;
using dbi::snapshot::SnapshotFile;
using dbi::snapshot::SnapshotWriter;
using testing::ElementsAre;
using testing::IsEmpty;

/// What a load of a run is answered; the error where it fails.
std::string Answered(const std::string& text, std::optional<int> run, const std::string& detector = "Birch") {
  const dbi::LoadScope scope(false, false, run);
  CapturedMessages messages("error");
  const auto session = dbi::AcquireSession(detector, DatabaseKind::Runs, 0);
  if (!session) { return "no session: " + messages.Texts(Severity::Error, "BrioDatabase").at(0); }
  const auto rows = RowsOf(*session, Asked(text));
  if (rows) { return rows->at(0).at(0).value_or("NULL"); }
  const auto errors = messages.Texts(Severity::Error, "BrioDatabase");
  return errors.size() == 1 ? errors[0] : std::to_string(errors.size()) + " errors";
}

class SnapshotRuns : public testing::Test {
protected:
  SnapshotWriter::Answer Add(SnapshotWriter& writer, const std::string& text, const std::string& value,
                             const std::string& detector = "Birch") {
    return writer.Add(Key(text, detector), TextColumns(1), Recorded({{value}}));
  }

  TemporaryFolder folder_;
  std::string path_ = folder_.Path() + "/file.brio";
  EnvironmentVariable database_{"BRIO_DATABASE", "snapshot:" + path_};
};

TEST_F(SnapshotRuns, HaveTheirOwnAnswersToTheSameStatement) {
  SnapshotWriter writer(path_);
  writer.AddRun(SavedRunOf(1), {Add(writer, "q", "of 1"), Add(writer, "only 1", "yes")});
  writer.AddRun(SavedRunOf(2), {Add(writer, "q", "of 2")});
  Add(writer, "client", "any");
  writer.Commit();
  EXPECT_EQ(Answered("q", 1), "of 1");
  EXPECT_EQ(Answered("q", 2), "of 2");
  EXPECT_EQ(Answered("q", std::nullopt), "of 2") << "without a run, what was saved last";
  EXPECT_EQ(Answered("client", 1), "any");
  EXPECT_EQ(Answered("client", std::nullopt), "any");
  EXPECT_EQ(Answered("only 1", std::nullopt), "yes");
  EXPECT_EQ(Answered("only 1", 2), "snapshot " + path_ +
                                       ", saved by version " BRIO_VERSION
                                       " in format 1, does not hold the answer to: only 1");
}

TEST_F(SnapshotRuns, ThatAreNotHeldAreNamed) {
  SnapshotWriter writer(path_);
  for (const int run : {13000, 13001, 13002, 13005}) {
    writer.AddRun(SavedRunOf(run), {Add(writer, "q", std::to_string(run))});
  }
  writer.AddRun(SavedRunOf(7, "Cedar"), {Add(writer, "q", "cedar's", "Cedar")});
  writer.Commit();
  EXPECT_EQ(Answered("q", 14000), "snapshot " + path_ + " holds runs 13000-13002, 13005 of Birch, not 14000");
  EXPECT_EQ(Answered("q", 8, "Cedar"), "snapshot " + path_ + " holds run 7 of Cedar, not 8");
  EXPECT_EQ(Answered("q", 13000, "Alder"), "snapshot " + path_ +
                                               " holds runs 13000-13002, 13005 of Birch and "
                                               "run 7 of Cedar, none of Alder");
}

TEST_F(SnapshotRuns, OfWhichOnlyAPartIsHeldSaySo) {
  SnapshotWriter writer(path_);
  writer.AddRun(SavedRunOf(1, "Birch", RunState::Part), {Add(writer, "q", "1")});
  writer.Commit();
  EXPECT_EQ(Answered("q", 1), "1");
  EXPECT_EQ(Answered("r", 1),
            "snapshot " + path_ + " holds only a part of run 1 of Birch, without the answer to: r");
}

TEST_F(SnapshotRuns, AreNoneInAnEmptyFile) {
  SnapshotWriter(path_).Commit();
  EXPECT_EQ(Answered("q", 1), "snapshot " + path_ + " holds no runs, none of Birch");
}

TEST_F(SnapshotRuns, OfTwoFilesAreReadAtOnce) {
  for (const std::string detector : {"birch", "alder"}) {
    SnapshotWriter writer(folder_.Path() + '/' + detector + "-runs.brio");
    writer.AddRun(SavedRunOf(1, detector), {Add(writer, "q", "of " + detector, detector)});
    writer.Commit();
  }
  const EnvironmentVariable both("BRIO_DATABASE",
                                 "snapshot:" + folder_.Path() + "/{detector}-{database}.brio");
  const dbi::LoadScope scope(false, false, 1);
  const auto birch = dbi::AcquireSession("Birch", DatabaseKind::Runs, 0);
  const auto alder = dbi::AcquireSession("Alder", DatabaseKind::Runs, 0);
  ASSERT_TRUE(birch && alder);
  EXPECT_EQ(RowsOf(*birch, Asked("q")), (ValueRows{{"of birch"}}));
  EXPECT_EQ(RowsOf(*alder, Asked("q")), (ValueRows{{"of alder"}}));
}

/// A load's databases may be one and the same connection; in a file each kind has its own answers.
TEST_F(SnapshotRuns, HaveTheirKindsOfDatabaseApart) {
  SnapshotWriter writer(path_);
  const auto hardware =
      writer.Add(Key("q", "Birch", DatabaseKind::Hardware), TextColumns(1), Recorded({{"h"}}));
  writer.AddRun(SavedRunOf(1), {Add(writer, "q", "r"), hardware});
  writer.Commit();
  const dbi::LoadScope scope(false, false, 1);
  const auto runs = dbi::AcquireSession("Birch", DatabaseKind::Runs, 0);
  EXPECT_EQ(dbi::AcquireSession("Birch", DatabaseKind::Runs, 0), runs) << "a load shares its sessions";
  EXPECT_EQ(RowsOf(*runs, Asked("q")), (ValueRows{{"r"}}));
  EXPECT_EQ(RowsOf(*dbi::AcquireSession("Birch", DatabaseKind::Hardware, 0), Asked("q")), (ValueRows{{"h"}}));
}

TEST_F(SnapshotRuns, AreReadFromTheFileThatStandsThereNow) {
  const auto save = [&](const std::string& value) {
    SnapshotWriter writer(path_);
    writer.AddRun(SavedRunOf(1), {Add(writer, "q", value)});
    writer.Commit();
  };
  save("old");
  const auto before = dbi::AcquireSession("Birch", DatabaseKind::Runs, 0);
  EXPECT_EQ(Answered("q", 1), "old");
  save("new");
  EXPECT_EQ(Answered("q", 1), "new");
  EXPECT_EQ(RowsOf(*before, Asked("q")), (ValueRows{{"old"}})) << "who has it open keeps what was there";
}

TEST_F(SnapshotRuns, CannotBeReadWhenDatabasesAreForbidden) {
  const EnvironmentVariable none("BRIO_DATABASE", "snapshot:none");
  EXPECT_EQ(Answered("q", 1),
            "no session: \"snapshot:none\" forbids every database, so nothing can be loaded");
}

TEST_F(SnapshotRuns, AreFoundInTheSampleAlongTheSearchPath) {
  const TemporaryFolder share;
  const EnvironmentVariable sample("BRIO_DATABASE", "snapshot:sample");
  const EnvironmentVariable path("BRIO_SEARCH_PATH", "/nowhere:" + share.Path());
  SnapshotWriter writer(share.Path() + "/sample.brio");
  writer.AddRun(SavedRunOf(1), {Add(writer, "q", "sample's")});
  writer.Commit();
  EXPECT_EQ(Answered("q", 1), "sample's");
}

TEST_F(SnapshotRuns, AreListedWithWhatTheyTakeUp) {
  const std::string path = WriteSample(folder_, 10'000);
  const auto file = SnapshotFile::Open(path);
  const auto runs = file->Runs();
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].detector, "Birch");
  EXPECT_EQ(runs[0].run, 13000);
  EXPECT_EQ(runs[1].run, 13001);
  EXPECT_EQ(runs[0].state, RunState::Whole);
  EXPECT_EQ(runs[0].taken, "2024-01-31 12:00:00");
  EXPECT_EQ(runs[0].library, "0.1.0");
  ASSERT_EQ(runs[0].sources.size(), 1U);
  EXPECT_EQ(runs[0].sources[0].kind, DatabaseKind::Runs);
  EXPECT_EQ(runs[0].sources[0].source.host, "db.example.org");
  EXPECT_EQ(runs[0].sources[0].source.database, "runs");
  EXPECT_EQ(runs[0].answers, 2);
  EXPECT_GT(runs[0].ownBytes, 1'000);
  EXPECT_GT(runs[0].bytes, runs[0].ownBytes) << "the column that both have, and the shared answer";
  const auto summary = file->Summary();
  EXPECT_EQ(summary.version, 1);
  EXPECT_EQ(summary.library, BRIO_VERSION);
  EXPECT_EQ(summary.made.size(), 19U);
  EXPECT_EQ(summary.answers, 4);
  EXPECT_EQ(summary.answersOfNoRun, 1);
  EXPECT_EQ(summary.blocks, 5) << "what both runs have is there once";
  EXPECT_LT(summary.storedBytes, summary.rawBytes);
  EXPECT_GT(summary.fileBytes, summary.storedBytes);
  EXPECT_EQ(file->Verify("Birch", 13000), std::nullopt);
  EXPECT_THAT(file->VerifyAll(), IsEmpty());
  EXPECT_THROW(file->Verify("Birch", 13002), cet::exception);
}

}  // namespace
}  // namespace brio::test
