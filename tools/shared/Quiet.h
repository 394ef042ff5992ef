#pragma once

#include <streambuf>
#include <string>

namespace brio::tools {

/// While it lives, nothing is shown of what the library says on standard error, through the message logger or
/// as progress, unless it is verbose: for a verb that loads many runs and does not answer with what is odd
/// about them. One at a time.
class Quiet {
public:
  explicit Quiet(bool isVerbose);
  ~Quiet();
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

  /// The first thing that a database complained of since the last call; empty when it was shown anyway.
  std::string TakeComplaint();

private:
  bool isQuiet_;
  std::streambuf* before_ = nullptr;
  std::string complaint_;
};

}  // namespace brio::tools
