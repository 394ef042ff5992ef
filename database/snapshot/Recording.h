#pragma once

#include <memory>
#include <string>

#include "database/Session.h"

namespace brio::dbi::recording {

/// The session to use in place of one: the same, unless this process records what it reads.
/// \param session  what the load shares by connection string; several detectors and kinds may have it
std::shared_ptr<Session> Wrap(std::shared_ptr<Session> session, const std::string& detector,
                              DatabaseKind kind);

}  // namespace brio::dbi::recording
