#include "database/snapshot/SharedSnapshot.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <tuple>

#include "database/snapshot/RunRanges.h"
#include "database/snapshot/SnapshotError.h"
#include "database/snapshot/SnapshotSchema.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {
namespace {

constexpr std::size_t kKeptBytes = std::size_t{16} << 20U;

std::string Named(const RunRow& run) { return "run " + std::to_string(run.run) + " of " + run.detector; }

}  // namespace

FileIdentity FileIdentity::Of(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    throw cet::exception("BrioDatabase")
        << "snapshot " << path << " cannot be read: " << std::strerror(errno);
  }
  // Opening a pipe could wait for ever.
  if (!S_ISREG(status.st_mode)) {
    throw cet::exception("BrioDatabase") << "snapshot " << path << " cannot be read: it is no regular file";
  }
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

bool FileIdentity::operator==(const FileIdentity& other) const {
  return std::tie(device, inode, size, seconds, nanoseconds) ==
         std::tie(other.device, other.inode, other.size, other.seconds, other.nanoseconds);
}

SharedSnapshot::SharedSnapshot(std::string path, FileIdentity identity)
    : path_(std::move(path)), identity_(identity), owner_(getpid()) {}

bool SharedSnapshot::IsOwner() const { return owner_ == getpid(); }

/// \return false when another file stands at the path meanwhile
bool SharedSnapshot::BeginUse() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!tables_) {
    tables_.emplace(path_);
    if (!(FileIdentity::Of(path_) == identity_)) {
      tables_.reset();
      return false;
    }
  }
  ++users_;
  return true;
}

void SharedSnapshot::Close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (--users_ == 0) { tables_.reset(); }
}

SnapshotSummary SharedSnapshot::Summary() {
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    SnapshotSummary summary;
    summary.version = kSnapshotVersion;
    summary.made = tables_->Value("made");
    summary.library = tables_->Value("library");
    summary.fileBytes = identity_.size;
    summary.answers = tables_->Count("count(*) FROM answer");
    summary.answersOfNoRun = static_cast<std::int64_t>(tables_->AnswersOfNoRun().size());
    summary.blocks = tables_->Count("count(*) FROM block");
    summary.storedBytes = tables_->Count("total(length(data)) FROM block");
    summary.rawBytes = tables_->Count("total(size) FROM block");
    return summary;
  } catch (const SnapshotError& error) { IsDamaged(error.what()); }
}

std::vector<RunContents> SharedSnapshot::Runs() {
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    return tables_->Contents();
  } catch (const SnapshotError& error) { IsDamaged(error.what()); }
}

std::optional<std::string> SharedSnapshot::Verify(const std::string& detector, int run) {
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    const auto row = tables_->FindRun(detector, run);
    if (!row) { LacksRun(detector, run); }
    FramesInUse none;
    UnpackAll(tables_->ReadRun(row->id, none));
  } catch (const SnapshotError& error) { return error.what(); }
  return std::nullopt;
}

FrameReader SharedSnapshot::Reader() const {
  return [this](const ContentHash& hash) { return tables_->ReadFrame(hash); };
}

/// Also what only a file made so gets wrong. \throws SnapshotError
void SharedSnapshot::UnpackAll(const VerifiedAnswers& answers) const {
  for (const auto& answer : answers.byQuestion) {
    answer.second->Unpack(Reader());
  }
}

std::vector<std::string> SharedSnapshot::VerifyAll() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> complaints;
  try {
    const auto integrity = tables_->IntegrityComplaint();
    if (!integrity.empty()) { complaints.push_back(integrity); }
    // The blocks of one run are at hand for the next, so that each is read once.
    std::list<VerifiedAnswers> previous;
    FramesInUse frames;
    for (const auto& run : tables_->Runs()) {
      try {
        previous.push_back(tables_->ReadRun(run.id, frames));
        UnpackAll(previous.back());
        if (previous.size() > 1) { previous.pop_front(); }
      } catch (const SnapshotError& error) { complaints.push_back(Named(run) + ": " + error.what()); }
    }
    for (const auto answer : tables_->AnswersOfNoRun()) {
      try {
        UnpackAll(tables_->ReadAnswer(answer, frames));
      } catch (const SnapshotError& error) {
        complaints.push_back("answer " + std::to_string(answer) + ": " + error.what());
      }
    }
  } catch (const SnapshotError& error) { complaints.emplace_back(error.what()); }
  return complaints;
}

std::shared_ptr<const StoredAnswer> SharedSnapshot::Find(const AnswerKey& key, std::optional<int> run) {
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    if (run) {
      const auto row = tables_->FindRun(key.detector, *run);
      if (row) { return FindInRun(key, *row); }
    }
    if (auto answer = FindAnywhere(HashOf(key), !run)) { return answer; }
    if (run) { LacksRun(key.detector, *run); }
    Lacks(key);
  } catch (const SnapshotError& error) { IsDamaged(error.what()); }
}

/// What a job asked of its own accord while it loaded a run may belong to no run.
std::shared_ptr<const StoredAnswer> SharedSnapshot::FindInRun(const AnswerKey& key, const RunRow& run) {
  std::shared_ptr<const VerifiedAnswers> verified;
  try {
    verified = Verified(run.id);
  } catch (const SnapshotError& error) { IsDamaged(Named(run) + ": " + error.what()); }
  const auto question = HashOf(key);
  const auto found = verified->byQuestion.find(question);
  if (found != verified->byQuestion.end()) { return found->second->Unpack(Reader()); }
  if (auto answer = FindAnywhere(question, false)) { return answer; }
  if (run.state == RunState::Part) {
    throw cet::exception("BrioDatabase") << "snapshot " << path_ << " holds only a part of " << Named(run)
                                         << ", without the answer to: " << key.statement;
  }
  Lacks(key);
}

/// The answer saved last that is whole; null when there is none.
std::shared_ptr<const StoredAnswer> SharedSnapshot::FindAnywhere(const ContentHash& question,
                                                                 bool alsoInRuns) {
  std::optional<std::string> complaint;
  for (const auto answer : tables_->AnswersTo(question)) {
    std::vector<Unit> units = tables_->RunsWith(answer);
    if (!units.empty() && !alsoInRuns) { continue; }
    if (units.empty()) { units.push_back(-answer); }
    // One that is known to be whole saves reading another.
    std::stable_partition(units.begin(), units.end(), [&](Unit unit) { return IsKnown(unit); });
    for (const auto unit : units) {
      try {
        const auto verified = Verified(unit);
        const auto found = verified->byQuestion.find(question);
        if (found != verified->byQuestion.end()) { return found->second->Unpack(Reader()); }
      } catch (const SnapshotError& error) {
        if (!complaint) { complaint = error.what(); }
      }
    }
  }
  if (complaint) { throw SnapshotError(*complaint); }
  return nullptr;
}

bool SharedSnapshot::IsKnown(Unit unit) const {
  return std::any_of(known_.begin(), known_.end(), [&](const Known& known) { return known.unit == unit; });
}

std::shared_ptr<const VerifiedAnswers> SharedSnapshot::Verified(Unit unit) {
  const auto known =
      std::find_if(known_.begin(), known_.end(), [&](const Known& other) { return other.unit == unit; });
  if (known != known_.end()) {
    known_.splice(known_.begin(), known_, known);
    return known_.front().answers;
  }
  auto answers = std::make_shared<const VerifiedAnswers>(unit > 0 ? tables_->ReadRun(unit, frames_)
                                                                  : tables_->ReadAnswer(-unit, frames_));
  Keep(unit, answers);
  return answers;
}

/// The one used last is kept whatever its size, since its load will ask for more of it.
void SharedSnapshot::Keep(Unit unit, const std::shared_ptr<const VerifiedAnswers>& answers) {
  known_.push_front({unit, answers});
  std::size_t bytes = 0;
  for (auto known = known_.begin(); known != known_.end();) {
    bytes += known->answers->bytes;
    known = bytes > kKeptBytes && known != known_.begin() ? known_.erase(known) : std::next(known);
  }
  for (auto frame = frames_.begin(); frame != frames_.end();) {
    frame = frame->second.expired() ? frames_.erase(frame) : std::next(frame);
  }
}

void SharedSnapshot::LacksRun(const std::string& detector, int run) const {
  const auto runs = tables_->Runs();
  const auto same = [&](const RunRow& row) { return LowerCase(row.detector) == LowerCase(detector); };
  std::vector<RunRow> ofDetector;
  std::copy_if(runs.begin(), runs.end(), std::back_inserter(ofDetector), same);
  const auto held = ofDetector.empty() ? RunRanges(runs) + ", none of " + detector
                                       : RunRanges(ofDetector) + ", not " + std::to_string(run);
  throw cet::exception("BrioDatabase") << "snapshot " << path_ << " holds " << held;
}

void SharedSnapshot::Lacks(const AnswerKey& key) const {
  std::string parameters;
  for (std::size_t i = 0; i < key.parameters.size(); ++i) {
    parameters += (i == 0 ? " [$" : ", $") + std::to_string(i + 1) + " = '" + key.parameters[i] + '\'';
  }
  if (!parameters.empty()) { parameters += ']'; }
  throw cet::exception("BrioDatabase")
      << "snapshot " << path_ << ", saved by version " << tables_->Value("library") << " in format "
      << kSnapshotVersion << ", does not hold the answer to: " << key.statement << parameters;
}

void SharedSnapshot::IsDamaged(const std::string& what) const {
  throw cet::exception("BrioDatabase") << "snapshot " << path_ << " is damaged: " << what;
}

}  // namespace brio::dbi::snapshot
