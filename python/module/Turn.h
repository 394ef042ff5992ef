#pragma once

#include <functional>
#include <optional>
#include <string>

namespace brio::python {

/// Where and how something is loaded.
struct Circumstances {
  /// Where the databases are, in the form of BRIO_DATABASE; nothing for what that says.
  std::optional<std::string> source;
  /// From which level on messages are wanted: debug, info, warning or error.
  std::string level = "warning";
};

/// Does work with the library, without the interpreter's lock; one thread of the process at a time, for loads
/// share an environment variable and the location map. Messages are handed to Python (brio._log.deliver)
/// while the work waits for a database, and when it is done. While it waits, the signals that came are
/// handled too: when their handler raises, as that of Ctrl-C does, the work ends and the exception passes.
/// \throws Failure for what the library throws or complains of, with what it logged
void InTurn(const Circumstances& circumstances, const std::function<void()>& work);

/// What the work under way on this thread was told at error severity, category "BrioDatabase", first; empty
/// for nothing. Only inside work.
std::string FirstComplaint();

/// For work that goes on for long without waiting: what waiting does meanwhile.
void GiveWay();

/// Once, before the first work.
void BeginTurns();
/// Before the interpreter ends: no work begins any more, and what waits gives up.
void EndTurns();
/// For a process that was forked off: the turn of a thread that it does not have is over.
void ForgetTurns();

}  // namespace brio::python
