#pragma once

#include <string>

namespace brio::tools {

/// A text from a database or a command line, so that a terminal shows it and does nothing else: control
/// characters (line ends and tabs too, and those of Unicode, which also turn the direction of writing) and
/// bytes that are no UTF-8 are escaped, "\n" or "\x1b". What text forms show of others' texts goes through
/// here.
std::string Visible(const std::string& text);

}  // namespace brio::tools
