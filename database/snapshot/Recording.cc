#include "database/snapshot/Recording.h"

#include <utility>

#include "database/snapshot/ProcessRecording.h"
#include "database/snapshot/RecordingSession.h"

namespace brio::dbi::recording {
namespace {

using snapshot::Recorder;

thread_local std::shared_ptr<Recorder> threadRecorder;

std::shared_ptr<Session> WrapFor(const std::shared_ptr<Recorder>& recorder, std::shared_ptr<Session> session,
                                 const std::string& detector, DatabaseKind kind) {
  if (!recorder) { return session; }
  if (session) {
    return std::make_shared<snapshot::RecordingSession>(std::move(session), recorder, detector, kind);
  }
  recorder->NoteFailure({detector, kind, {}, "its database cannot be reached"});
  return nullptr;
}

}  // namespace

std::shared_ptr<Session> Wrap(std::shared_ptr<Session> session, const std::string& detector,
                              DatabaseKind kind) {
  // A thread that saves runs may do so in a process that is recorded as well.
  return WrapFor(threadRecorder, WrapFor(OfProcess(), std::move(session), detector, kind), detector, kind);
}

OnThisThread::OnThisThread(std::shared_ptr<Recorder> recorder)
    : before_(std::exchange(threadRecorder, std::move(recorder))) {}

OnThisThread::~OnThisThread() { threadRecorder = std::move(before_); }

}  // namespace brio::dbi::recording
