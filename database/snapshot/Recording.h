#pragma once

#include <memory>
#include <string>

#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi {

namespace snapshot {
class Recorder;
}

namespace recording {

/// The session to use in place of one: the same, unless it is recorded what this thread or this process
/// reads. Null stays null, and is told as a failure. \param session  what the load shares by connection
/// string; several detectors and kinds may have it
std::shared_ptr<Session> Wrap(std::shared_ptr<Session> session, const std::string& detector,
                              DatabaseKind kind);

/// While it lives, sessions that this thread acquires are recorded.
class BRIO_EXPORT_PRIVATE OnThisThread {
public:
  explicit OnThisThread(std::shared_ptr<snapshot::Recorder> recorder);
  ~OnThisThread();
  OnThisThread(const OnThisThread&) = delete;
  OnThisThread& operator=(const OnThisThread&) = delete;

private:
  std::shared_ptr<snapshot::Recorder> before_;
};

}  // namespace recording
}  // namespace brio::dbi
