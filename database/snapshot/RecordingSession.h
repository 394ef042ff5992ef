#pragma once

#include <memory>
#include <string>
#include <utility>

#include "database/snapshot/Recorder.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// Stands around another session and passes everything on unchanged, messages and exceptions too; a recorder
/// is told what was asked and what came back.
class BRIO_EXPORT_PRIVATE RecordingSession final : public Session {
public:
  RecordingSession(std::shared_ptr<Session> session, std::shared_ptr<Recorder> recorder, std::string detector,
                   DatabaseKind kind)
      : session_(std::move(session)),
        recorder_(std::move(recorder)),
        detector_(std::move(detector)),
        kind_(kind) {}

  ResultHandle Execute(const Statement& statement) override;
  ResultHandle ExecuteByRow(const Statement& statement, const RowConsumer& take) override;
  ResultHandle ExecuteByRow(const Statement& statement, RowDigest& digest) override;
  GivenRows LastGiven() const override { return session_->LastGiven(); }
  bool IsUsable() const override { return session_->IsUsable(); }
  void ReadOneState() override { session_->ReadOneState(); }
  SessionSource Source() const override { return session_->Source(); }
  void Close() noexcept override { session_->Close(); }

private:
  template <class Run, class Record>
  ResultHandle Recorded(const Statement& statement, Run run, Record record);

  std::shared_ptr<Session> session_;
  std::shared_ptr<Recorder> recorder_;
  std::string detector_;
  DatabaseKind kind_;
};

}  // namespace brio::dbi::snapshot
