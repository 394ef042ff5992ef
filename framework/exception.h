#pragma once

#include <exception>
#include <ios>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "framework/Export.h"

namespace cet {

/// A hard failure: a category that a handler can choose by, and a message that is streamed to it.
///
///     throw cet::exception("RunHistory") << "no such run: " << run;
///
/// `what()` shows both. Copies are independent of each other.
class BRIO_EXPORT exception : public std::exception {
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
  /// Appends a value as std::ostream formats it in the classic locale, whatever the global one is. What a
  /// manipulator sets (std::hex, std::setprecision) holds for the values after it.
  template <class Value>
  void stream(const Value& value);

private:
  std::string category_;
  std::string message_;
  std::string what_;
  // The formatting that the values streamed so far left behind; a stream itself could not be copied.
  std::ios_base::fmtflags flags_ = std::ios_base::dec | std::ios_base::skipws;
  std::streamsize precision_ = 6;
  std::streamsize width_ = 0;
  char fill_ = ' ';
};

template <class Value>
void exception::stream(const Value& value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.flags(flags_);
  text.precision(precision_);
  text.width(width_);
  text.fill(fill_);
  text << value;
  flags_ = text.flags();
  precision_ = text.precision();
  width_ = text.width();
  fill_ = text.fill();
  append(text.str());
}

/// Streams a value onto the end of an exception's message; gives back the exception with its own type, so
/// that the expression can be thrown.
template <class Exception, class Value,
          class = std::enable_if_t<std::is_base_of_v<exception, std::decay_t<Exception>>>>
Exception&& operator<<(Exception&& error, const Value& value) {
  error.stream(value);
  return std::forward<Exception>(error);
}

/// The same for manipulators such as std::endl, whose type is known only from here.
template <class Exception, class = std::enable_if_t<std::is_base_of_v<exception, std::decay_t<Exception>>>>
Exception&& operator<<(Exception&& error, std::ostream& (*manipulator)(std::ostream&)) {
  error.stream(manipulator);
  return std::forward<Exception>(error);
}

}  // namespace cet
