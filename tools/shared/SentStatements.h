#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tools/shared/Format.h"

namespace brio::tools {

/// A statement that a database answered.
struct SentStatement {
  std::string database;
  std::string text;  ///< on one line
  std::vector<std::string> parameters;
  long rows = 0;
  bool hasFailed = false;
  double milliseconds = 0;
};

/// From now on each statement is told to standard error when it has been answered, for --verbose.
void TellOfStatements();

/// Keeps the statements that are answered while it lives, for --explain. One at a time, on the thread that
/// made it.
class StatementLog {
public:
  StatementLog();
  ~StatementLog();
  StatementLog(const StatementLog&) = delete;
  StatementLog& operator=(const StatementLog&) = delete;

  const std::vector<SentStatement>& Statements() const { return statements_; }
  /// A table of them, and their sums.
  void Write(std::ostream& text) const;
  Json AsJson() const;

private:
  std::vector<SentStatement> statements_;
};

}  // namespace brio::tools
