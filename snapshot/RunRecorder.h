#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "database/snapshot/AnswerSet.h"
#include "database/snapshot/SavedRun.h"
#include "snapshot/Saver.h"

namespace brio::snapshot {

/// Keeps in memory what is read for one run, and remembers the first failure.
class RunRecorder final : public dbi::snapshot::Recorder {
public:
  bool IsWanted(const dbi::snapshot::AnswerKey& key) noexcept override;
  void Keep(const dbi::snapshot::AnswerKey& key, dbi::snapshot::RecordedAnswer answer,
            const dbi::SessionSource& source) override;
  void NoteFailure(const dbi::snapshot::RecordedFailure& failure) noexcept override;

  const std::vector<dbi::snapshot::AnswerSet::Entry>& Answers() const { return answers_.Entries(); }
  /// The databases that gave them.
  std::vector<dbi::snapshot::RunSource> Sources() const;
  const std::optional<std::string>& Failure() const { return failure_; }

private:
  dbi::snapshot::AnswerSet answers_;
  std::map<dbi::DatabaseKind, dbi::SessionSource> sources_;
  std::optional<std::string> failure_;
};

/// What a run's databases answer to all that the loaders ask about it.
struct RecordedRun {
  RunRecorder answers;
  bool isMissing = false;
  std::optional<std::string> failure;  ///< why it is not whole
};

/// Reads a run, once more when the first try was interrupted. What the loaders print goes where they print.
/// \param also  what else is asked when the loaders had all
std::shared_ptr<RecordedRun> Record(const std::string& detector, int run, const Saver::Question& also = {});

}  // namespace brio::snapshot
