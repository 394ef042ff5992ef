#pragma once

#include <string>

namespace brio::test::unixsocket {

/// A listening socket at a path. \throws std::runtime_error
int Listen(const std::string& path);
/// A socket connected to a path; negative when nobody listens there.
int ConnectTo(const std::string& path);
/// A new folder for sockets, with a short name.
std::string MakeFolder();

}  // namespace brio::test::unixsocket
