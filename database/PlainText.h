#pragma once

#include <ios>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>

namespace brio::dbi {

/// Some values as one text: numbers as a new stream writes them in the classic locale, whatever the global
/// locale is.
template <class... Values>
std::string PlainText(const Values&... values) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  (text << ... << values);
  return text.str();
}

/// Writes such a text as a line and flushes it. Neither follows nor changes the formatting (base, fill,
/// width, locale) that others left on the stream.
template <class... Values>
void WriteLine(std::ostream& stream, const Values&... values) {
  const std::string text = PlainText(values...);
  stream.write(text.data(), static_cast<std::streamsize>(text.size())) << std::endl;
}

}  // namespace brio::dbi
