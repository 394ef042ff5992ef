#include "database/snapshot/SnapshotTables.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "database/snapshot/Blocks.h"
#include "database/snapshot/SnapshotError.h"
#include "database/snapshot/SnapshotSchema.h"
#include "database/snapshot/SnapshotVersion.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {
namespace {

std::int64_t Pragma(const SQLiteFile& file, const std::string& name) {
  SQLiteQuery query(file, "PRAGMA " + name);
  return query.Step() ? query.Number(0) : 0;
}

std::string LibraryOf(const SQLiteFile& file) {
  try {
    SQLiteQuery query(file, "SELECT value FROM snapshot WHERE key = 'library'");
    if (query.Step()) { return " by version " + query.Text(0); }
  } catch (const SnapshotError&) {  // NOLINT(bugprone-empty-catch): then it does not say so
  }
  return {};
}

/// Views and triggers could do other things in the places of tables.
bool HasItsTables(const SQLiteFile& file) {
  SQLiteQuery query(file, "SELECT sql FROM sqlite_schema ORDER BY rowid");
  for (const auto& expected : kSchema) {
    if (!query.Step() || query.Bytes(0) != expected) { return false; }
  }
  return !query.Step();
}

DatabaseKind KindNamed(std::string_view name) {
  for (const auto kind : {DatabaseKind::Runs, DatabaseKind::Hardware, DatabaseKind::DAQConfiguration,
                          DatabaseKind::SlowControl}) {
    if (name == NameOf(kind)) { return kind; }
  }
  throw SnapshotError("a run comes from an unknown kind of database");
}

SQLiteFile Opened(const std::string& path) {
  try {
    SQLiteFile file = SQLiteFile::OpenImmutable(path);
    const auto version = Pragma(file, "user_version");
    if (Pragma(file, "application_id") != kApplicationId) {
      throw cet::exception("BrioDatabase") << path << " is no snapshot, but another application's file";
    }
    if (version != kSnapshotVersion) {
      throw cet::exception("BrioDatabase")
          << "snapshot " << path << " was saved" << LibraryOf(file) << " in format " << version
          << "; this library, version " << LibraryVersion() << ", reads format " << kSnapshotVersion;
    }
    if (!HasItsTables(file)) {
      throw cet::exception("BrioDatabase")
          << "snapshot " << path << " cannot be read: its tables are not those "
          << "of format " << kSnapshotVersion;
    }
    return file;
  } catch (const SnapshotError& error) {
    throw cet::exception("BrioDatabase") << "snapshot " << path << " cannot be read: " << error.what();
  }
}

constexpr const char* kRunColumns = "SELECT id, detector, run, state, taken, library, hash FROM run ";
constexpr const char* kAnswerColumns =
    "SELECT a.id, a.question, a.form, a.rows, a.columns, a.digest, a.blocks, a.hash, q.detector, q.database, "
    "q.statement, q.parameters, q.binary FROM ";
constexpr const char* kFrameOfBlock = "SELECT size, frame, data FROM block WHERE hash = ?";

/// Such frames are kept rather than read twice.
constexpr std::size_t kSmallFrame = 16384;

/// Valid until the query is used again.
std::string_view CheckedFrame(SQLiteQuery& block, const ContentHash& hash) {
  block.Reset().BindBytes(BytesOf(hash));
  if (!block.Step()) { throw SnapshotError("a block is not there"); }
  const auto size = block.Number(0);
  if (size < 0) { throw SnapshotError("a block has a negative size"); }
  const ContentHash expected = HashIn(block.Bytes(1));
  const auto frame = block.Bytes(2);
  if (HashOf(frame) != expected) { throw SnapshotError("a block has another hash than it should have"); }
  if (!IsFrameOf(frame, static_cast<std::size_t>(size))) {
    throw SnapshotError("a block has another size than it should have");
  }
  return frame;
}

}  // namespace

ContentHash HashOf(const SavedRun& run, const std::vector<ContentHash>& answers) {
  Fingerprint fingerprint;
  fingerprint.Text(run.detector).Number(run.run).Number(static_cast<int>(run.state));
  fingerprint.Text(run.taken).Text(run.library).Number(static_cast<std::int64_t>(run.sources.size()));
  for (const auto& [kind, source] : run.sources) {
    fingerprint.Text(NameOf(kind)).Text(source.host).Text(source.database);
  }
  auto sorted = answers;
  std::sort(sorted.begin(), sorted.end());
  for (const auto& answer : sorted) {
    fingerprint.Text(BytesOf(answer));
  }
  return fingerprint.Hash();
}

SnapshotTables::SnapshotTables(const std::string& path) : file_(Opened(path)) {}

std::string SnapshotTables::Value(const std::string& key) const {
  SQLiteQuery query(file_, "SELECT value FROM snapshot WHERE key = ?");
  query.Bind(key);
  return query.Step() ? query.Text(0) : std::string();
}

std::int64_t SnapshotTables::Count(const std::string& what) const {
  SQLiteQuery query(file_, "SELECT " + what);
  return query.Step() ? query.Number(0) : 0;
}

RunRow SnapshotTables::RunAt(SQLiteQuery& query) const {
  RunRow run;
  run.id = query.Number(0);
  run.detector = query.Text(1);
  run.run = static_cast<int>(query.Number(2));
  const auto state = query.Number(3);
  if (state < static_cast<int>(RunState::Whole) || state > static_cast<int>(RunState::Part)) {
    throw SnapshotError("a run is in an unknown state");
  }
  run.state = static_cast<RunState>(state);
  run.taken = query.Text(4);
  run.library = query.Text(5);
  SQLiteQuery sources(file_, "SELECT database, host, name FROM run_source WHERE run = ? ORDER BY position");
  sources.Bind(run.id);
  while (sources.Step()) {
    run.sources.push_back({KindNamed(sources.Bytes(0)), {sources.Text(1), sources.Text(2)}});
  }
  return run;
}

std::vector<RunRow> SnapshotTables::Runs() const {
  SQLiteQuery query(file_, std::string(kRunColumns) + "ORDER BY detector, run");
  std::vector<RunRow> runs;
  while (query.Step()) {
    runs.push_back(RunAt(query));
  }
  return runs;
}

std::optional<RunRow> SnapshotTables::FindRun(const std::string& detector, int run) const {
  SQLiteQuery query(file_, std::string(kRunColumns) + "WHERE detector = ? AND run = ?");
  query.Bind(detector).Bind(std::int64_t{run});
  if (!query.Step()) { return std::nullopt; }
  auto row = RunAt(query);
  if (row.run != run || LowerCase(row.detector) != LowerCase(detector)) {
    throw SnapshotError("run " + std::to_string(run) + " of " + detector + " is not where it should be");
  }
  return row;
}

namespace {

std::vector<std::int64_t> Numbers(SQLiteQuery& query) {
  std::vector<std::int64_t> numbers;
  while (query.Step()) {
    numbers.push_back(query.Number(0));
  }
  return numbers;
}

}  // namespace

std::vector<std::int64_t> SnapshotTables::AnswersTo(const ContentHash& question) const {
  SQLiteQuery query(
      file_,
      "SELECT a.id FROM question q JOIN answer a ON a.question = q.id WHERE q.hash = ? ORDER BY a.id "
      "DESC");
  return Numbers(query.BindBytes(BytesOf(question)));
}

std::vector<std::int64_t> SnapshotTables::RunsWith(std::int64_t answer) const {
  SQLiteQuery query(file_, "SELECT run FROM run_answer WHERE answer = ? ORDER BY run DESC");
  return Numbers(query.Bind(answer));
}

std::vector<std::int64_t> SnapshotTables::AnswersOfNoRun() const {
  SQLiteQuery query(file_,
                    "SELECT id FROM answer WHERE id NOT IN (SELECT answer FROM run_answer) ORDER BY id");
  return Numbers(query);
}

std::vector<RunContents> SnapshotTables::Contents() const {
  std::map<ContentHash, std::int64_t> sizes;
  SQLiteQuery blocks(file_, "SELECT hash, length(data) FROM block");
  while (blocks.Step()) {
    sizes[HashIn(blocks.Bytes(0))] = blocks.Number(1);
  }
  std::vector<RunContents> contents;
  std::vector<std::set<ContentHash>> used;
  std::map<ContentHash, int> users;
  for (const auto& run : Runs()) {
    contents.push_back({static_cast<const SavedRun&>(run), 0, 0, 0});
    used.emplace_back();
    SQLiteQuery answers(file_,
                        "SELECT a.blocks FROM run_answer r JOIN answer a ON a.id = r.answer WHERE r.run = ?");
    answers.Bind(run.id);
    while (answers.Step()) {
      ++contents.back().answers;
      for (const auto& hash : HashesIn(answers.Bytes(0))) {
        if (used.back().insert(hash).second) { ++users[hash]; }
      }
    }
  }
  for (std::size_t i = 0; i < contents.size(); ++i) {
    for (const auto& hash : used[i]) {
      contents[i].bytes += sizes[hash];
      if (users[hash] == 1) { contents[i].ownBytes += sizes[hash]; }
    }
  }
  return contents;
}

VerifiedAnswers SnapshotTables::ReadRun(std::int64_t run, FramesInUse& frames) const {
  SQLiteQuery query(file_, std::string(kRunColumns) + "WHERE id = ?");
  query.Bind(run);
  if (!query.Step()) { throw SnapshotError("a run is not there"); }
  const ContentHash expected = HashIn(query.Bytes(6));
  const RunRow row = RunAt(query);
  SQLiteQuery answers(file_, std::string(kAnswerColumns) +
                                 "run_answer r JOIN answer a ON a.id = r.answer JOIN question q ON q.id = "
                                 "a.question WHERE r.run = ? ORDER BY r.answer");
  answers.Bind(run);
  VerifiedAnswers verified;
  std::vector<ContentHash> hashes;
  ReadAnswers(answers, frames, verified, hashes);
  if (HashOf(row, hashes) != expected) {
    throw SnapshotError("what belongs to it has another hash than it should have");
  }
  return verified;
}

VerifiedAnswers SnapshotTables::ReadAnswer(std::int64_t answer, FramesInUse& frames) const {
  SQLiteQuery query(
      file_, std::string(kAnswerColumns) + "answer a JOIN question q ON q.id = a.question WHERE a.id = ?");
  query.Bind(answer);
  VerifiedAnswers verified;
  std::vector<ContentHash> hashes;
  ReadAnswers(query, frames, verified, hashes);
  if (hashes.empty()) { throw SnapshotError("an answer is not there"); }
  return verified;
}

void SnapshotTables::ReadAnswers(SQLiteQuery& query, FramesInUse& frames, VerifiedAnswers& verified,
                                 std::vector<ContentHash>& hashes) const {
  std::size_t size = 0;
  SQLiteQuery blocks(file_, kFrameOfBlock);
  while (query.Step()) {
    AnswerRecord record{query.Number(0), query.Number(1), query.Number(2), query.Number(3),
                        query.Text(4),   query.Text(5),   query.Text(6)};
    const ContentHash hash = HashIn(query.Bytes(7));
    const auto question =
        QuestionHash(query.Text(8), query.Bytes(9), query.Bytes(10), query.Bytes(11), query.Number(12) != 0);
    if (HashOf(record, question) != hash) {
      throw SnapshotError("an answer has another hash than it should have");
    }
    std::vector<std::shared_ptr<const Frame>> used;
    for (const auto& block : HashesIn(record.blocks)) {
      used.push_back(ReadFrame(blocks, block, frames));
      size += used.back()->size;
      if (size > kLargestRun) { throw SnapshotError("it is too large"); }
      verified.bytes += used.back()->data.size();
    }
    verified.byQuestion[question] = std::make_shared<const PackedAnswer>(std::move(record), std::move(used));
    hashes.push_back(hash);
  }
}

/// \param block  asks for a block's size, its frame's hash, and its frame, by its own hash
std::shared_ptr<const Frame> SnapshotTables::ReadFrame(SQLiteQuery& block, const ContentHash& hash,
                                                       FramesInUse& frames) const {
  auto& known = frames[hash];
  if (auto frame = known.lock()) { return frame; }
  const std::string_view data = CheckedFrame(block, hash);
  auto frame = std::make_shared<Frame>();
  frame->hash = hash;
  frame->size = static_cast<std::size_t>(block.Number(0));
  if (data.size() <= kSmallFrame) { frame->data = data; }
  known = frame;
  return frame;
}

std::string SnapshotTables::ReadFrame(const ContentHash& hash) const {
  SQLiteQuery block(file_, kFrameOfBlock);
  return std::string(CheckedFrame(block, hash));
}

std::string SnapshotTables::IntegrityComplaint() const {
  SQLiteQuery query(file_, "PRAGMA integrity_check(1)");
  if (!query.Step()) { return "it cannot be checked"; }
  auto text = query.Text(0);
  return text == "ok" ? std::string() : text;
}

}  // namespace brio::dbi::snapshot
