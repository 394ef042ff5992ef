#pragma once

#include <exception>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace cet {

/// A hard failure: a category that a handler can choose by, and a message that is streamed to it.
///
///     throw cet::exception("RunHistory") << "no such run: " << run;
///
/// `what()` shows both. Copies are independent of each other.
class exception : public std::exception {
public:
  explicit exception(std::string category);
  exception(std::string category, std::string message);

  /// The category given at construction, unchanged.
  const std::string& category() const noexcept { return category_; }
  /// All that was streamed so far, unchanged (line ends included).
  const std::string& message() const noexcept { return message_; }
  /// Category and message in one text; valid until the object changes or dies.
  const char* what() const noexcept override { return what_.c_str(); }

  /// Appends text to the message.
  void append(const std::string& text);

private:
  std::string category_;
  std::string message_;
  std::string what_;
};

/// Streams a value, formatted as std::ostream would, onto the end of an exception's message; gives back the
/// exception with its own type, so that the expression can be thrown.
template <class Exception, class Value,
          class = std::enable_if_t<std::is_base_of_v<exception, std::decay_t<Exception>>>>
Exception&& operator<<(Exception&& error, const Value& value) {
  std::ostringstream text;
  text << value;
  error.append(text.str());
  return std::forward<Exception>(error);
}

/// The same for manipulators such as std::endl.
template <class Exception, class = std::enable_if_t<std::is_base_of_v<exception, std::decay_t<Exception>>>>
Exception&& operator<<(Exception&& error, std::ostream& (*manipulator)(std::ostream&)) {
  std::ostringstream text;
  text << manipulator;
  error.append(text.str());
  return std::forward<Exception>(error);
}

}  // namespace cet
