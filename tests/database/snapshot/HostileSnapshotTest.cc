// Files that were made to do harm, their hashes all in order: an error, in bounded memory.
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LittleEndian.h"
#include "database/snapshot/Blocks.h"
#include "database/snapshot/SQLite.h"
#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotTables.h"
#include "framework/exception.h"
#include "tests/database/snapshot/Snapshots.h"

namespace brio::test {
namespace {

using dbi::snapshot::AnswerRecord;
using dbi::snapshot::SnapshotFile;
using dbi::snapshot::SQLiteFile;
using dbi::snapshot::SQLiteQuery;
using testing::StartsWith;

class HostileSnapshot : public testing::Test {
protected:
  void Alter(const std::string& sql) const { SQLiteFile::OpenToFill(path_).Run(sql); }
  std::string Opening() const {
    try {
      SnapshotFile::Open(path_);
    } catch (const cet::exception& error) { return Cut(error.message()); }
    return "none";
  }
  /// The error of asking for the answer that belongs to no run.
  std::string Asking() const {
    try {
      SnapshotFile::Open(path_)->Find(Key("own"), std::nullopt);
    } catch (const cet::exception& error) { return Cut(error.message()); }
    return "none";
  }
  std::string Cut(std::string text) const {
    const auto at = text.find(path_);
    return at == std::string::npos ? text : text.replace(at, path_.size(), "FILE");
  }

  /// Puts another answer, made of these blocks, in the place of that answer.
  void Forge(AnswerRecord record, const std::vector<std::string>& blocks) const {
    auto file = SQLiteFile::OpenToFill(path_);
    file.Run("BEGIN; DELETE FROM answer WHERE id NOT IN (SELECT answer FROM run_answer)");
    for (const auto& block : blocks) {
      const auto hash = dbi::snapshot::HashOf(block);
      record.blocks += dbi::snapshot::BytesOf(hash);
      const auto frame = dbi::snapshot::Compress(block);
      SQLiteQuery insert(file, "INSERT OR IGNORE INTO block (hash, size, frame, data) VALUES (?, ?, ?, ?)");
      const auto hashOfFrame = dbi::snapshot::HashOf(frame);
      insert.BindBytes(dbi::snapshot::BytesOf(hash)).Bind(static_cast<std::int64_t>(block.size()));
      insert.BindBytes(dbi::snapshot::BytesOf(hashOfFrame)).BindBytes(frame).Step();
    }
    const auto question = dbi::snapshot::HashOf(Key("own"));
    SQLiteQuery find(file, "SELECT id FROM question WHERE hash = ?");
    find.BindBytes(dbi::snapshot::BytesOf(question)).Step();
    const auto hash = dbi::snapshot::HashOf(record, question);
    SQLiteQuery insert(file,
                       "INSERT INTO answer (question, form, rows, columns, digest, blocks, hash) VALUES (?, "
                       "?, ?, ?, ?, ?, ?)");
    insert.Bind(find.Number(0)).Bind(record.form).Bind(record.rows).BindBytes(record.columns);
    insert.Bind(record.digest).BindBytes(record.blocks).BindBytes(dbi::snapshot::BytesOf(hash)).Step();
    file.Run("COMMIT");
  }
  /// The same with an answer of rows with one column. \return the error of asking for it
  std::string Forged(std::int64_t rows, const std::string& block) const {
    AnswerRecord record;
    record.form = 1;
    record.rows = rows;
    record.columns = EncodedColumns(TextColumns(1));
    Forge(record, {block});
    return Asking();
  }

  TemporaryFolder folder_;
  std::string path_ = WriteSample(folder_);
};

std::string Numbers(const std::vector<std::uint32_t>& numbers) {
  std::string bytes;
  for (const auto number : numbers) {
    dbi::littleendian::Append(bytes, number);
  }
  return bytes;
}

const std::string kValues(1, '\0');
const std::string kDictionary(1, '\1');
const std::string kEnd(1, '\0');

TEST_F(HostileSnapshot, OfAnotherApplicationOrVersionSaysSo) {
  EXPECT_EQ(Opening(), "none");
  Alter("PRAGMA user_version = 2");
  EXPECT_EQ(Opening(), "snapshot FILE was saved by version " BRIO_VERSION
                       " in format 2; this library, version " BRIO_VERSION ", reads format 1");
  Alter("PRAGMA user_version = 0; DROP TABLE snapshot");
  EXPECT_EQ(Opening(),
            "snapshot FILE was saved in format 0; this library, version " BRIO_VERSION ", reads format 1");
  Alter("PRAGMA application_id = 7");
  EXPECT_EQ(Opening(), "FILE is no snapshot, but another application's file");
}

class HostileTables : public HostileSnapshot, public testing::WithParamInterface<const char*> {};

TEST_P(HostileTables, AreRefused) {
  Alter(GetParam());
  EXPECT_EQ(Opening(), "snapshot FILE cannot be read: its tables are not those of format 1");
}

INSTANTIATE_TEST_SUITE_P(
    Tables, HostileTables,
    testing::Values("ALTER TABLE run RENAME TO r; CREATE VIEW run AS SELECT * FROM r",
                    "CREATE TRIGGER t AFTER INSERT ON run BEGIN DELETE FROM answer; END",
                    "CREATE TABLE other (a)", "DROP INDEX answer_run", "CREATE INDEX other ON run (taken)",
                    "DROP TABLE block",
                    "ALTER TABLE run ADD COLUMN other INTEGER GENERATED ALWAYS AS (zeroblob(1000000000))",
                    "CREATE VIEW v AS SELECT 1"));

std::string Damaged(const std::string& what) { return "snapshot FILE is damaged: " + what; }

TEST_F(HostileSnapshot, WithAnHonestForgeryIsRead) {
  EXPECT_EQ(Forged(2, kValues + Numbers({1, 0}) + "x" + kEnd + kEnd), "none");
  EXPECT_EQ(Forged(2, kDictionary + Numbers({1, 1}) + "x" + kEnd + std::string(2, '\0')), "none");
}

TEST_F(HostileSnapshot, WithImpossibleNumbersOfRowsIsRefused) {
  const std::string block = kValues + Numbers({0}) + kEnd;
  for (const std::int64_t rows : {std::int64_t{-1}, std::int64_t{1} << 31U, INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(Forged(rows, block), Damaged("an answer has an impossible number of rows")) << rows;
  }
  EXPECT_EQ(Forged(INT32_MAX, block), Damaged("an answer has impossible numbers of rows and columns"));
  EXPECT_EQ(Forged(2, block), Damaged("a column ends too early"));
  EXPECT_EQ(Forged(0, block), Damaged("an answer has too many columns"));
}

TEST_F(HostileSnapshot, WithColumnsThatLeadElsewhereIsRefused) {
  const std::string early = Damaged("a column ends too early");
  EXPECT_EQ(Forged(1, std::string(1, '\2') + Numbers({1}) + "x" + kEnd),
            Damaged("a column has an unknown coding"));
  EXPECT_EQ(Forged(1, kValues + Numbers({2}) + "x" + kEnd), early);
  EXPECT_EQ(Forged(1, kValues + Numbers({0xFFFFFFFE}) + "x" + kEnd), Damaged("a value is too long"));
  EXPECT_EQ(Forged(1, kValues + Numbers({1}) + "xy"), Damaged("a value does not end where it should"));
  EXPECT_EQ(Forged(1, kDictionary), early);
  EXPECT_EQ(Forged(1, kDictionary + Numbers({0xFFFFFFFF, 1}) + "x" + kEnd), early);
  EXPECT_EQ(Forged(1, kDictionary + Numbers({1, 1}) + "x" + kEnd + '\1'),
            Damaged("a column has a code outside its dictionary"));
  EXPECT_EQ(Forged(1, kDictionary + Numbers({0}) + '\0'),
            Damaged("a column has a code outside its dictionary"));
  EXPECT_EQ(Forged(2, kDictionary + Numbers({1, 1}) + "x" + kEnd + '\0'), early);
}

TEST_F(HostileSnapshot, WithRecordsThatDoNotFitIsRefused) {
  const std::string block = kValues + Numbers({0}) + kEnd;
  AnswerRecord record;
  record.rows = 1;
  record.columns = EncodedColumns(TextColumns(1));
  const auto forged = [&](std::int64_t form, const std::vector<std::string>& blocks) {
    record.form = form;
    Forge(record, blocks);
    return Asking();
  };
  EXPECT_EQ(forged(1, {}), Damaged("an answer has too few columns"));
  EXPECT_EQ(forged(1, {block, block}), Damaged("an answer has too many columns"));
  EXPECT_EQ(forged(3, {block}), Damaged("an answer has an unknown form"));
  EXPECT_EQ(forged(-1, {block}), Damaged("an answer has an unknown form"));
  EXPECT_EQ(forged(2, {}), Damaged("a digest is not one block"));
  EXPECT_EQ(forged(2, {block, block}), Damaged("a digest is not one block"));
  EXPECT_EQ(forged(0, {block}), Damaged("an answer has impossible numbers of rows and columns"));
  record.columns.pop_back();
  EXPECT_EQ(forged(1, {block}), Damaged("the list of an answer's columns ends too early"));
  record.columns = Numbers({0xFFFFFFFF});
  EXPECT_EQ(forged(1, {block}), Damaged("the list of an answer's columns ends too early"));
  record.columns.clear();
  EXPECT_EQ(forged(1, {block}), Damaged("an answer has impossible numbers of rows and columns"));
  record.columns = EncodedColumns(TextColumns(1));
  record.blocks = "short";
  EXPECT_EQ(forged(1, {}), Damaged("a hash has another length"));
  record.blocks = std::string(16, 'x');
  EXPECT_EQ(forged(1, {}), Damaged("a block is not there"));
}

/// What the process has had in memory at most, in MB.
long PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

TEST_F(HostileSnapshot, WithBlocksThatClaimToBeHugeIsRefused) {
  const long before = PeakMegabytes();
  for (const auto& size : {"1 << 62", "-1", "(1 << 26) + 1", "1 << 26", "0"}) {
    Alter(std::string("UPDATE block SET size = ") + size);
    EXPECT_THAT(Asking(), testing::AnyOf(Damaged("a block has another size than it should have"),
                                         Damaged("a block has a negative size")))
        << size;
  }
  Alter("UPDATE block SET data = zeroblob(100)");
  EXPECT_EQ(Asking(), Damaged("a block has another hash than it should have"));
  EXPECT_LT(PeakMegabytes() - before, 50);
}

TEST_F(HostileSnapshot, WhoseFramesAreNoneThoughTheirHashesFitIsRefused) {
  {
    auto file = SQLiteFile::OpenToFill(path_);
    SQLiteQuery blocks(file, "SELECT id, data FROM block");
    std::vector<std::pair<std::int64_t, std::string>> frames;
    while (blocks.Step()) {
      frames.emplace_back(blocks.Number(0), blocks.Text(1));
    }
    for (auto& [id, frame] : frames) {
      frame.resize(frame.size() / 2);
      const auto hash = dbi::snapshot::HashOf(frame);
      SQLiteQuery update(file, "UPDATE block SET data = ?, frame = ? WHERE id = ?");
      update.BindBytes(frame).BindBytes(dbi::snapshot::BytesOf(hash)).Bind(id).Step();
    }
  }
  EXPECT_EQ(Asking(), Damaged("a block cannot be decompressed"));
  EXPECT_THAT(SnapshotFile::Open(path_)->VerifyAll(),
              testing::Contains(testing::HasSubstr("a block cannot be decompressed")));
}

/// Gigabytes in a file of some hundred kilobytes.
TEST_F(HostileSnapshot, ThatIsABombCostsABoundedAmountOfMemory) {
  AnswerRecord record;
  record.form = 2;
  std::string block(63U << 20U, '\0');
  for (char number = 0; number < 32; ++number) {
    block.front() = number;
    Forge(record, {block});
    const auto hash = dbi::snapshot::HashOf(block);
    record.blocks += dbi::snapshot::BytesOf(hash);
  }
  record.form = 1;
  record.rows = 1;
  Forge(record, {});
  EXPECT_EQ(Asking(), Damaged("it is too large"));
  EXPECT_LT(PeakMegabytes(), 1'200) << "of 2,000";
}

TEST_F(HostileSnapshot, WhoseValuesWouldFillTheMemoryIsRefused) {
  const std::string codes = kDictionary + Numbers({1, 0}) + kEnd;
  EXPECT_EQ(Forged((1 << 25) + 1, codes + std::string((1U << 25U) + 1, '\0')),
            Damaged("an answer has impossible numbers of rows and columns"));
}

/// A tree whose pages lead back to one another, in every kind of order.
TEST_F(HostileSnapshot, WhosePagesLeadInCirclesEnds) {
  std::ifstream file(path_, std::ios::binary);
  const std::string good{std::istreambuf_iterator<char>(file), {}};
  constexpr std::size_t kPage = 4096;
  for (std::size_t from = 1; from < good.size() / kPage; ++from) {
    // An inner page with one child, which is itself.
    std::string bytes = good;
    const char page = static_cast<char>(from + 1);
    const std::string inner{5, 0, 0, 0, 0, 16, 0, 0, 0, 0, 0, page};
    bytes.replace(from * kPage, inner.size(), inner);
    const auto copy = folder_.Write("circle" + std::to_string(from) + ".brio", bytes);
    try {
      const auto snapshot = SnapshotFile::Open(copy);
      EXPECT_FALSE(snapshot->VerifyAll().empty()) << from;
      snapshot->Find(Key("own"), std::nullopt);
    } catch (const cet::exception& error) {
      EXPECT_THAT(error.message(), StartsWith("snapshot " + copy)) << from;
    }
  }
}

}  // namespace
}  // namespace brio::test
