#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

/// Where the command's texts go: the answer to standard output, everything else to standard error.
namespace brio::tools::console {

/// From now on what the library prints, on either stream or through the message logger, comes out on standard
/// error, line by line, and complaints are remembered. Call once, before the first RunHistory.
void Take();
/// In its place: the streams stay as the library has them, but what a terminal would obey is escaped.
void Guard();

/// How much of what the library says is shown. What it says is never part of the answer.
enum class Loudness {
  Quiet,   ///< nothing
  Normal,  ///< progress at once; complaints after the answer (TellRest); so it is at first after Take
  Full     ///< everything at once; so it is at first after Guard
};
void SetLoudness(Loudness loudness);

/// The stream of the answer: standard output itself, also after Take.
std::ostream& Answer();

/// Writes a line to standard error. Complaints that it repeats have been told with it.
void Say(const std::string& line);

/// Shows the complaints that were not told yet: each once, and of several that differ only in their numbers
/// the first, with their count.
void TellRest();

/// How many complaints there have been: error messages of the logger, and lines that the library wrote to
/// standard error.
std::size_t Complaints();
/// The first complaint since a count of Complaints(); with `fromDatabase` the first that a database caused.
/// Complaints that a load left behind when it began afresh do not count. Empty without one.
std::string ComplaintSince(std::size_t count, bool fromDatabase = false);

/// True when a stream's file descriptor (1 or 2) is a terminal.
bool IsTerminal(int descriptor);

/// True when a terminal says that it understands neither colours nor lines that are taken back (TERM=dumb).
bool IsDumb();
/// True when ShowProgress has something to show its line on.
bool CanShowProgress();

/// Shows a line that is replaced in place, or takes it away when `line` is empty. Only for a terminal.
void ShowProgress(const std::string& line);

}  // namespace brio::tools::console
