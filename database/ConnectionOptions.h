#pragma once

#include <memory>
#include <string>

#include <libpq-fe.h>

#include "framework/Export.h"

namespace brio::dbi {

struct OptionsDeleter {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
/// Owns a list of libpq's connection options.
using OptionsHandle = std::unique_ptr<PQconninfoOption, OptionsDeleter>;

/// The options that a connection string itself sets; null when libpq cannot read it.
BRIO_EXPORT_PRIVATE OptionsHandle OptionsIn(const std::string& connectionString);

/// What a connection to that string would use, with the service file, the environment and libpq's defaults.
/// Connects to nothing. Without values when libpq refuses the string, its service or the number of its hosts.
BRIO_EXPORT_PRIVATE OptionsHandle EffectiveOptions(const std::string& connectionString);

/// An option's value; empty when it has none or libpq does not know it.
BRIO_EXPORT_PRIVATE std::string OptionValue(const OptionsHandle& options, const std::string& keyword);

/// Where libpq looks for a server when no host is named: a folder of Unix sockets, or a host.
BRIO_EXPORT_PRIVATE std::string DefaultHost();
/// The port of a host whose entry in a list of ports is empty.
std::string DefaultPort();

}  // namespace brio::dbi
