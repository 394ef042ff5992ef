#include "snapshot/RunRecorder.h"

#include <exception>
#include <memory>
#include <new>

#include "database/LoadScope.h"
#include "database/snapshot/Recording.h"
#include "database/snapshot/TakenNow.h"
#include "snapshot/Facts.h"
#include "snapshot/WholeRun.h"

namespace brio::snapshot {

using dbi::snapshot::AnswerKey;
using dbi::snapshot::RecordedAnswer;
using dbi::snapshot::RecordedFailure;
using dbi::snapshot::RunSource;

bool RunRecorder::IsWanted(const AnswerKey& key) noexcept {
  try {
    return answers_.Find(key) == nullptr;
  } catch (const std::exception& error) {
    NoteFailure({key.detector, key.kind, key.statement, error.what()});
    return false;
  }
}

void RunRecorder::Keep(const AnswerKey& key, RecordedAnswer answer, const dbi::SessionSource& source) {
  answers_.Add(key, std::move(answer));
  sources_.try_emplace(key.kind, source);
}

void RunRecorder::NoteFailure(const RecordedFailure& failure) noexcept {
  if (failure_) { return; }
  try {
    failure_ = (failure.statement.empty() ? "" : FactOf(failure.statement) + ": ") + failure.reason;
  } catch (...) { failure_.emplace(); }
}

std::vector<RunSource> RunRecorder::Sources() const {
  std::vector<RunSource> sources;
  for (const auto& [kind, source] : sources_) {
    sources.push_back(dbi::snapshot::SourceOf(kind, source));
  }
  return sources;
}

namespace {

std::shared_ptr<RecordedRun> RecordOnce(const std::string& detector, int run, const Saver::Question& also,
                                        bool& wasInterrupted) {
  auto recorded = std::make_shared<RecordedRun>();
  const dbi::recording::OnThisThread recording({recorded, &recorded->answers});
  const dbi::LoadScope oneState;
  const AskedRun asked = AskForAll(run, detector);
  wasInterrupted = asked.wasInterrupted;
  recorded->isMissing = asked.isMissing;
  recorded->failure = recorded->answers.Failure() ? recorded->answers.Failure() : asked.failure;
  if (also && !recorded->failure) {
    try {
      also(detector, run);
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch)
      // What was answered is kept; the rest fails from the snapshot as it failed here.
    }
  }
  return recorded;
}

}  // namespace

std::shared_ptr<RecordedRun> Record(const std::string& detector, int run, const Saver::Question& also) {
  bool wasInterrupted = false;
  auto recorded = RecordOnce(detector, run, also, wasInterrupted);
  return recorded->failure && wasInterrupted ? RecordOnce(detector, run, also, wasInterrupted) : recorded;
}

}  // namespace brio::snapshot
