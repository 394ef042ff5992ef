#pragma once

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace brio::python {

/// What becomes an exception of the module's own in Python.
class Failure : public std::exception {
public:
  enum class Kind { Error, Database, RunNotFound, Incomplete };

  Failure(Kind kind, std::string message, std::string category = {})
      : kind_(kind), message_(std::move(message)), category_(std::move(category)) {}

  const char* what() const noexcept override { return message_.c_str(); }
  Kind GetKind() const { return kind_; }
  /// Of the library's exception or message; empty for none.
  const std::string& Category() const { return category_; }
  /// What was logged at error severity meanwhile.
  const std::vector<std::string>& Log() const { return log_; }
  void SetLog(std::vector<std::string> log) { log_ = std::move(log); }

private:
  Kind kind_;
  std::string message_;
  std::string category_;
  std::vector<std::string> log_;
};

/// Lets Failure reach Python as the class of brio._errors that it stands for.
void RegisterFailures();

}  // namespace brio::python
