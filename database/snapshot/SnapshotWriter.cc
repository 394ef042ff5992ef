#include "database/snapshot/SnapshotWriter.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "database/snapshot/Blocks.h"
#include "database/snapshot/SQLite.h"
#include "database/snapshot/SnapshotError.h"
#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotSchema.h"
#include "database/snapshot/SnapshotTables.h"
#include "database/snapshot/SnapshotVersion.h"
#include "database/snapshot/TemporaryFile.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {
namespace {

// Smaller columns share a block with their neighbours.
constexpr std::size_t kWorthABlock = 8192;

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &fields)};
}

std::vector<std::string> PackedColumns(const RecordedRows& rows) {
  std::vector<std::string> blocks;
  bool isOpen = false;
  for (int i = 0; i < rows.Columns(); ++i) {
    auto column = rows.EncodedColumn(i);
    const bool isSmall = column.size() < kWorthABlock;
    if (isSmall && isOpen) {
      blocks.back() += column;
    } else {
      blocks.push_back(std::move(column));
    }
    isOpen = isSmall && blocks.back().size() < kWorthABlock;
  }
  return blocks;
}

}  // namespace

class SnapshotWriter::Impl {
public:
  explicit Impl(const std::string& path) : path_(path), temporary_(path) {
    Open();
    for (const auto& statement : kSchema) {
      file_->Run(std::string(statement));
    }
    file_->Run("PRAGMA application_id = " + std::to_string(kApplicationId));
    file_->Run("PRAGMA user_version = " + std::to_string(kSnapshotVersion));
    file_->Run("BEGIN");
  }

  const std::string& TemporaryPath() const { return temporary_.Path(); }
  void Append(const std::string& snapshot);
  Answer Add(const AnswerKey& key, AnswerRecord record, const std::vector<std::string>& blocks);
  void AddRun(const SavedRun& run, const std::vector<Answer>& answers);
  std::int64_t Size() const;
  void Commit();

private:
  void Open() { file_.emplace(SQLiteFile::OpenToFill(temporary_.Path())); }
  std::optional<std::int64_t> IdOf(const char* statement, const ContentHash& hash);
  std::int64_t Question(const AnswerKey& key, const ContentHash& hash);
  void AddBlock(std::string_view raw, const ContentHash& hash);
  std::map<std::int64_t, Answer> LastToEachQuestion(const std::vector<Answer>& answers);
  std::vector<Answer> RemoveRun(const std::string& detector, int run);
  void RemoveUnused(const std::vector<Answer>& answers);
  void RemoveUnusedBlocks();

  std::string path_;
  TemporaryFile temporary_;
  std::optional<SQLiteFile> file_;
  bool wereAnswersRemoved_ = false;
};

void SnapshotWriter::Impl::Append(const std::string& snapshot) {
  const auto complaints = SnapshotFile::Open(snapshot)->VerifyAll();
  if (!complaints.empty()) {
    throw cet::exception("BrioDatabase") << "snapshot " << snapshot << " is damaged: " << complaints.front();
  }
  file_.reset();
  temporary_.CopyFrom(snapshot);
  Open();
  file_->Run("BEGIN");
}

std::optional<std::int64_t> SnapshotWriter::Impl::IdOf(const char* statement, const ContentHash& hash) {
  SQLiteQuery query(*file_, statement);
  query.BindBytes(BytesOf(hash));
  if (!query.Step()) { return std::nullopt; }
  return query.Number(0);
}

std::int64_t SnapshotWriter::Impl::Question(const AnswerKey& key, const ContentHash& hash) {
  if (const auto known = IdOf("SELECT id FROM question WHERE hash = ?", hash)) { return *known; }
  const auto parameters = EncodedParameters(key.parameters);
  SQLiteQuery insert(
      *file_,
      "INSERT INTO question (hash, detector, database, statement, parameters, binary) VALUES (?, "
      "?, ?, ?, ?, ?)");
  insert.BindBytes(BytesOf(hash)).Bind(key.detector).Bind(std::string(NameOf(key.kind))).Bind(key.statement);
  insert.BindBytes(parameters).Bind(std::int64_t{key.binary ? 1 : 0}).Step();
  return file_->LastId();
}

void SnapshotWriter::Impl::AddBlock(std::string_view raw, const ContentHash& hash) {
  if (IdOf("SELECT id FROM block WHERE hash = ?", hash)) { return; }
  const auto frame = Compress(raw);
  SQLiteQuery insert(*file_, "INSERT INTO block (hash, size, frame, data) VALUES (?, ?, ?, ?)");
  const auto hashOfFrame = HashOf(frame);
  insert.BindBytes(BytesOf(hash)).Bind(static_cast<std::int64_t>(raw.size()));
  insert.BindBytes(BytesOf(hashOfFrame)).BindBytes(frame).Step();
}

SnapshotWriter::Answer SnapshotWriter::Impl::Add(const AnswerKey& key, AnswerRecord record,
                                                 const std::vector<std::string>& blocks) {
  for (const auto& block : blocks) {
    const auto hash = HashOf(block);
    AddBlock(block, hash);
    record.blocks += BytesOf(hash);
  }
  const auto question = HashOf(key);
  record.question = Question(key, question);
  const auto hash = HashOf(record, question);
  if (const auto known = IdOf("SELECT id FROM answer WHERE hash = ?", hash)) { return *known; }
  SQLiteQuery insert(
      *file_,
      "INSERT INTO answer (question, form, rows, columns, digest, blocks, hash) VALUES (?, ?, ?, "
      "?, ?, ?, ?)");
  insert.Bind(record.question).Bind(record.form).Bind(record.rows).BindBytes(record.columns);
  insert.Bind(record.digest).BindBytes(record.blocks).BindBytes(BytesOf(hash)).Step();
  return file_->LastId();
}

std::map<std::int64_t, SnapshotWriter::Answer> SnapshotWriter::Impl::LastToEachQuestion(
    const std::vector<Answer>& answers) {
  std::map<std::int64_t, Answer> last;
  for (const auto answer : answers) {
    SQLiteQuery query(*file_, "SELECT question FROM answer WHERE id = ?");
    query.Bind(answer);
    if (!query.Step()) { throw SnapshotError("it has no answer " + std::to_string(answer)); }
    last[query.Number(0)] = answer;
  }
  return last;
}

void SnapshotWriter::Impl::AddRun(const SavedRun& run, const std::vector<Answer>& answers) {
  const auto before = RemoveRun(run.detector, run.run);
  const auto last = LastToEachQuestion(answers);
  std::vector<ContentHash> hashes;
  std::int64_t bytes = 0;
  for (const auto& [question, answer] : last) {
    SQLiteQuery query(*file_, "SELECT hash, blocks FROM answer WHERE id = ?");
    query.Bind(answer).Step();
    hashes.push_back(HashIn(query.Bytes(0)));
    for (const auto& block : HashesIn(query.Bytes(1))) {
      bytes += IdOf("SELECT size FROM block WHERE hash = ?", block).value_or(0);
    }
  }
  if (bytes > static_cast<std::int64_t>(kLargestRun)) {
    throw SnapshotError("the answers of run " + std::to_string(run.run) + " of " + run.detector + " have " +
                        std::to_string(bytes) + " bytes, more than " + std::to_string(kLargestRun));
  }
  const auto hash = HashOf(run, hashes);
  SQLiteQuery insert(
      *file_, "INSERT INTO run (detector, run, state, taken, library, hash) VALUES (?, ?, ?, ?, ?, ?)");
  insert.Bind(run.detector).Bind(std::int64_t{run.run}).Bind(static_cast<std::int64_t>(run.state));
  insert.Bind(run.taken).Bind(run.library).BindBytes(BytesOf(hash)).Step();
  const auto id = file_->LastId();
  SQLiteQuery source(*file_,
                     "INSERT INTO run_source (run, position, database, host, name) VALUES (?, ?, ?, ?, ?)");
  for (std::size_t i = 0; i < run.sources.size(); ++i) {
    source.Bind(id).Bind(static_cast<std::int64_t>(i)).Bind(std::string(NameOf(run.sources[i].kind)));
    source.Bind(run.sources[i].source.host).Bind(run.sources[i].source.database).Step();
  }
  SQLiteQuery own(*file_, "INSERT INTO run_answer (run, answer) VALUES (?, ?)");
  for (const auto& [question, answer] : last) {
    own.Bind(id).Bind(answer).Step();
  }
  RemoveUnused(before);
}

/// \return its answers
std::vector<SnapshotWriter::Answer> SnapshotWriter::Impl::RemoveRun(const std::string& detector, int run) {
  SQLiteQuery query(*file_, "SELECT id FROM run WHERE detector = ? AND run = ?");
  query.Bind(detector).Bind(std::int64_t{run});
  if (!query.Step()) { return {}; }
  const auto id = query.Number(0);
  std::vector<Answer> answers;
  SQLiteQuery own(*file_, "SELECT answer FROM run_answer WHERE run = ?");
  own.Bind(id);
  while (own.Step()) {
    answers.push_back(own.Number(0));
  }
  for (const char* table : {"run_answer WHERE run", "run_source WHERE run", "run WHERE id"}) {
    SQLiteQuery(*file_, std::string("DELETE FROM ") + table + " = ?").Bind(id).Step();
  }
  return answers;
}

void SnapshotWriter::Impl::RemoveUnused(const std::vector<Answer>& answers) {
  SQLiteQuery remove(
      *file_,
      "DELETE FROM answer WHERE id = ?1 AND id NOT IN (SELECT answer FROM run_answer WHERE answer = ?1)");
  for (const auto answer : answers) {
    remove.Bind(answer).Step();
    wereAnswersRemoved_ = true;
  }
}

void SnapshotWriter::Impl::RemoveUnusedBlocks() {
  std::set<ContentHash> used;
  SQLiteQuery answers(*file_, "SELECT blocks FROM answer");
  while (answers.Step()) {
    for (const auto& hash : HashesIn(answers.Bytes(0))) {
      used.insert(hash);
    }
  }
  std::vector<std::int64_t> unused;
  SQLiteQuery blocks(*file_, "SELECT id, hash FROM block");
  while (blocks.Step()) {
    if (used.count(HashIn(blocks.Bytes(1))) == 0) { unused.push_back(blocks.Number(0)); }
  }
  SQLiteQuery remove(*file_, "DELETE FROM block WHERE id = ?");
  for (const auto id : unused) {
    remove.Bind(id).Step();
  }
  file_->Run("DELETE FROM question WHERE id NOT IN (SELECT question FROM answer)");
}

std::int64_t SnapshotWriter::Impl::Size() const {
  SQLiteQuery query(*file_, "SELECT page_count * page_size FROM pragma_page_count(), pragma_page_size()");
  return query.Step() ? query.Number(0) : 0;
}

void SnapshotWriter::Impl::Commit() {
  if (wereAnswersRemoved_) { RemoveUnusedBlocks(); }
  for (const auto& [key, value] : {std::pair<std::string, std::string>{"made", Now()},
                                   std::pair<std::string, std::string>{"library", LibraryVersion()}}) {
    SQLiteQuery(*file_, "INSERT OR REPLACE INTO snapshot (key, value) VALUES (?, ?)")
        .Bind(key)
        .Bind(value)
        .Step();
  }
  file_->Run("COMMIT");
  file_.reset();
  temporary_.PutInPlace();
}

namespace {

template <class Write>
auto Writing(const std::string& path, const Write& write) {
  try {
    return write();
  } catch (const SnapshotError& error) {
    throw cet::exception("BrioDatabase") << "snapshot " << path << " cannot be written: " << error.what();
  }
}

}  // namespace

SnapshotWriter::SnapshotWriter(const std::string& path)
    : path_(path), impl_(Writing(path, [&] { return std::make_unique<Impl>(path); })) {}

SnapshotWriter::~SnapshotWriter() = default;

const std::string& SnapshotWriter::TemporaryPath() const { return impl_->TemporaryPath(); }

void SnapshotWriter::Append(const std::string& snapshot) {
  Writing(path_, [&] { impl_->Append(snapshot); });
}

SnapshotWriter::Answer SnapshotWriter::Add(const AnswerKey& key, const std::vector<ResultColumn>& columns,
                                           const RecordedRows& rows) {
  return Writing(path_, [&] {
    const auto width = columns.size();
    if (rows.Count() > 0 && (width == 0 || static_cast<std::size_t>(rows.Columns()) != width)) {
      throw SnapshotError("an answer has rows of other columns than it says: " + key.statement);
    }
    if (rows.Count() > kMostCells || rows.Count() * width > kMostCells) {
      throw SnapshotError("an answer has " + std::to_string(rows.Count()) +
                          " rows, too many: " + key.statement);
    }
    AnswerRecord record;
    record.form = static_cast<std::int64_t>(AnswerForm::Rows);
    record.rows = static_cast<std::int64_t>(rows.Count());
    record.columns = EncodedColumns(columns);
    return impl_->Add(key, std::move(record), PackedColumns(rows));
  });
}

SnapshotWriter::Answer SnapshotWriter::AddCommand(const AnswerKey& key) {
  return Writing(path_, [&] {
    AnswerRecord record;
    record.form = static_cast<std::int64_t>(AnswerForm::Command);
    return impl_->Add(key, std::move(record), {});
  });
}

SnapshotWriter::Answer SnapshotWriter::AddDigest(const AnswerKey& key,
                                                 const std::vector<ResultColumn>& columns, std::uint64_t rows,
                                                 const std::string& name, std::string_view bytes) {
  return Writing(path_, [&] {
    AnswerRecord record;
    record.form = static_cast<std::int64_t>(AnswerForm::Digest);
    record.rows = static_cast<std::int64_t>(rows);
    record.columns = EncodedColumns(columns);
    record.digest = name;
    return impl_->Add(key, std::move(record), {std::string(bytes)});
  });
}

void SnapshotWriter::AddRun(const SavedRun& run, const std::vector<Answer>& answers) {
  Writing(path_, [&] { impl_->AddRun(run, answers); });
}

std::int64_t SnapshotWriter::Size() const {
  return Writing(path_, [&] { return impl_->Size(); });
}

void SnapshotWriter::Commit() {
  Writing(path_, [&] { impl_->Commit(); });
}

}  // namespace brio::dbi::snapshot
