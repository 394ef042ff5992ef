#include "snapshot/Saver.h"

#include <filesystem>
#include <utility>

#include "database/snapshot/SnapshotWriter.h"
#include "database/snapshot/TakenNow.h"
#include "snapshot/RunRecorder.h"

namespace brio::snapshot {

using dbi::snapshot::RunState;
using dbi::snapshot::SnapshotWriter;

class Saver::Impl {
public:
  explicit Impl(const std::string& path) : writer(path) {}

  SnapshotWriter writer;
  Question also;
};

Saver::Saver(const std::string& path, Old old) : impl_(std::make_unique<Impl>(path)) {
  if (old == Old::Append && std::filesystem::exists(path)) { impl_->writer.Append(path); }
}

Saver::~Saver() = default;

void Saver::AlsoAsk(Question question) { impl_->also = std::move(question); }

SavedResult Saver::Save(const std::string& detector, int run) {
  const auto recorded = Record(detector, run, impl_->also);
  if (recorded->failure) { return {Saved::Refused, *recorded->failure}; }
  auto saved =
      dbi::snapshot::TakenNow(detector, run, recorded->isMissing ? RunState::Missing : RunState::Whole);
  saved.sources = recorded->answers.Sources();
  std::vector<SnapshotWriter::Answer> answers;
  for (const auto& entry : recorded->answers.Answers()) {
    answers.push_back(dbi::snapshot::Write(impl_->writer, entry));
  }
  impl_->writer.AddRun(saved, answers);
  return {recorded->isMissing ? Saved::Missing : Saved::Whole, {}};
}

void Saver::Commit() { impl_->writer.Commit(); }

const std::string& Saver::TemporaryPath() const { return impl_->writer.TemporaryPath(); }

}  // namespace brio::snapshot
