#pragma once

#include <functional>
#include <string>
#include <vector>

namespace brio::test {

struct CommandResult {
  /// The exit status; minus the signal's number when a signal ended the process.
  int status = 0;
  std::string output;
  std::string error;
};

/// Runs the runhistory command with this process's environment, and a text on standard input, and waits for
/// its end.
CommandResult RunHistoryCommand(const std::vector<std::string>& arguments, const std::string& input = "");

/// The same with standard output going to a file that exists, a device say; `output` stays empty.
CommandResult RunHistoryCommandInto(const std::string& file, const std::vector<std::string>& arguments);

/// The same with some of the standard descriptors (0 to 2) closed.
CommandResult RunHistoryCommandWithout(const std::vector<int>& closed,
                                       const std::vector<std::string>& arguments);

/// The same, sent a signal once `wait` returns.
CommandResult RunHistoryCommandSignalled(int signal, const std::function<void()>& wait,
                                         const std::vector<std::string>& arguments);

/// The same with both streams on one terminal; `output` has what was shown on it.
CommandResult RunHistoryCommandOnTerminal(const std::vector<std::string>& arguments);

}  // namespace brio::test
