#include "database/snapshot/ProcessRecording.h"

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "database/LoadScopeSessions.h"
#include "database/snapshot/AnswerSet.h"
#include "database/snapshot/TakenNow.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi::recording {
namespace {

using snapshot::AnswerKey;
using snapshot::AnswerSet;

class ProcessRecorder final : public snapshot::Recorder {
public:
  explicit ProcessRecorder(std::string path) : path_(std::move(path)) {}

  bool IsWanted(const AnswerKey& key) noexcept override {
    try {
      const std::lock_guard<std::mutex> lock(mutex_);
      const auto* place = answers_.Find(key);
      if (place != nullptr) { NoteUse(key, *place); }
      return place == nullptr;
    } catch (const std::exception& error) {
      NoteFailure({key.detector, key.kind, key.statement, error.what()});
      return false;
    }
  }

  void Keep(const AnswerKey& key, snapshot::RecordedAnswer answer, const SessionSource& source) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    sources_.try_emplace({key.detector, key.kind}, source);
    NoteUse(key, answers_.Add(key, std::move(answer)));
  }

  // Whoever asked was told, and the snapshot has no answer to the statement: it fails there too.
  void NoteFailure(const snapshot::RecordedFailure& /*failure*/) noexcept override {}

  /// Writes all that was kept, once.
  void Write() noexcept {
    if (getpid() != owner_) { return; }
    try {
      const std::lock_guard<std::mutex> lock(mutex_);
      snapshot::SnapshotWriter writer(path_);
      std::vector<snapshot::SnapshotWriter::Answer> numbers;
      for (const auto& entry : answers_.Entries()) {
        numbers.push_back(snapshot::Write(writer, entry));
      }
      for (const auto& [run, places] : runs_) {
        auto saved = snapshot::TakenNow(run.first, run.second, snapshot::RunState::Part);
        std::vector<snapshot::SnapshotWriter::Answer> own;
        std::set<DatabaseKind> kinds;
        for (const std::size_t place : places) {
          own.push_back(numbers[place]);
          kinds.insert(answers_.Entries()[place].key.kind);
        }
        for (const auto kind : kinds) {
          saved.sources.push_back(snapshot::SourceOf(kind, sources_[{run.first, kind}]));
        }
        writer.AddRun(saved, own);
      }
      writer.Commit();
    } catch (const cet::exception& error) { Complain(error.message()); } catch (const std::exception& error) {
      Complain(error.what());
    }
  }

private:
  void NoteUse(const AnswerKey& key, std::size_t place) {
    if (const auto run = loadscope::Run()) { runs_[{key.detector, *run}].insert(place); }
  }
  static void Complain(const std::string& reason) {
    LogError("BrioDatabase") << "what this process read is not recorded: " << reason;
  }

  std::string path_;
  pid_t owner_ = getpid();
  std::mutex mutex_;
  AnswerSet answers_;
  std::map<std::pair<std::string, int>, std::set<std::size_t>> runs_;
  std::map<std::pair<std::string, DatabaseKind>, SessionSource> sources_;
};

std::shared_ptr<snapshot::Recorder> MakeFromEnvironment() {
  const char* path = std::getenv(kRecordVariable);
  if (path == nullptr || *path == '\0') { return nullptr; }
  // Never deleted: sessions may use it until the process ends.
  static auto* const recorder = new std::shared_ptr<ProcessRecorder>(std::make_shared<ProcessRecorder>(path));
  if (std::atexit([] { (*recorder)->Write(); }) != 0) {
    LogError("BrioDatabase") << "what this process reads is not recorded: its end cannot be waited for";
  }
  return *recorder;
}

}  // namespace

const std::shared_ptr<snapshot::Recorder>& OfProcess() {
  static auto* const recorder = new std::shared_ptr<snapshot::Recorder>(MakeFromEnvironment());
  return *recorder;
}

}  // namespace brio::dbi::recording
