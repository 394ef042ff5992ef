#include "database/ConnectionCheck.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace brio::dbi {
namespace {

constexpr std::array<const char*, 5> kShown{"service", "host", "hostaddr", "user", "dbname"};

/// The shape of "user:password@host", which libpq understands in a URI only.
bool LooksLikeCredentials(const std::string& text) {
  const auto colon = text.find(':');
  return colon != std::string::npos && text.find('@', colon) != std::string::npos;
}

/// Whether a URI's password seems to hold a "/" or "@" that is not written as %2F or %40: libpq would take
/// pieces of it for a host, a port or a database, and name those in its messages.
bool HidesPassword(const std::string& connectionString) {
  const auto scheme = connectionString.find("://");
  if (scheme == std::string::npos) { return false; }
  const std::string rest = connectionString.substr(scheme + 3);
  const auto at = rest.find('@');
  if (at == std::string::npos) { return false; }
  const auto slash = rest.find('/');
  if (slash < at) { return rest.find('?') > at; }
  return rest.find('@', at + 1) < slash;
}

}  // namespace

bool IsReadable(const std::string& connectionString) {
  const bool isBareName =
      connectionString.find('=') == std::string::npos && connectionString.find("://") == std::string::npos;
  if (isBareName) { return !LooksLikeCredentials(connectionString); }
  if (HidesPassword(connectionString)) { return false; }
  const auto options = OptionsIn(connectionString);
  return options != nullptr && !ShowPassword(options);
}

bool ShowPassword(const OptionsHandle& options) {
  if (OptionValue(options, "port").find_first_not_of("0123456789,") != std::string::npos) { return true; }
  if (std::any_of(kShown.begin(), kShown.end(),
                  [&](const char* keyword) { return LooksLikeCredentials(OptionValue(options, keyword)); })) {
    return true;
  }
  // A blank that is missing between two pairs makes the second a part of the first one's value.
  for (const PQconninfoOption* option = options.get(); option != nullptr && option->keyword != nullptr;
       ++option) {
    const bool isPassword = std::string("password") == option->keyword;
    if (!isPassword && option->val != nullptr && std::strstr(option->val, "password=") != nullptr) {
      return true;
    }
  }
  return false;
}

}  // namespace brio::dbi
