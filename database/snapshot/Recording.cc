#include "database/snapshot/Recording.h"

namespace brio::dbi::recording {

std::shared_ptr<Session> Wrap(std::shared_ptr<Session> session, const std::string& /*detector*/,
                              DatabaseKind /*kind*/) {
  return session;
}

}  // namespace brio::dbi::recording
