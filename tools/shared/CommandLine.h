#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace brio::tools {

/// Words of a command line in the order in which the parser takes them: the verb first, with the options that
/// stood before it behind it; "help", "help VERB" and "version" as options.
/// \param command  has a subcommand for each verb, with all its options
/// \throws CLI::ParseError for a verb that there is not, with the nearest that there is, and for none
std::vector<std::string> Ordered(const CLI::App& command, std::vector<std::string> words);

/// Tells standard error what is wrong with a command line, on one line, and where help is.
void TellWrongUsage(const CLI::ParseError& error);

}  // namespace brio::tools
