#pragma once

#include <chrono>
#include <string>

namespace brio::dbi {

/// The text, to be sent in one message, that begins a read-only transaction in which a statement means and
/// answers the same whatever the server, the database and the role have set. All of it ends with the
/// transaction, so that a pooler has nothing to leak.
/// \param limit  the longest that the server may work on a statement, where the role has no shorter one;
///               std::chrono::seconds::max() for none
std::string BeginStatement(std::chrono::seconds limit);

}  // namespace brio::dbi
