#pragma once

#include <iostream>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

#include <boost/lexical_cast.hpp>

namespace brio::dbi {

/// One value of a loaded row: the database's text form of it, or nothing where the value was NULL or the
/// column was not fetched. A view into its table's result: valid until the table is loaded again or
/// destroyed.
class Column {
public:
  Column() = default;
  explicit Column(const char* text) : text_(text) {}

  /// Converts the whole text to a T (no blanks around it, no fraction for an integer, nothing out of range)
  /// and stores it in `out`. No locale plays a part.
  /// \return false, with `out` unchanged, when the value is absent, and when the text cannot be converted,
  ///         which also writes a line that shows the text to standard error. Never throws for what the text
  ///         holds.
  template <class T>
  bool Get(T& out) const {
    if (text_ == nullptr) { return false; }
    const std::string text(text_);
    try {
      out = Converted<T>(text);
    } catch (const boost::bad_lexical_cast&) {
      std::cerr << "Column::Get(): Bad_lexical_cast! Value = " << text_ << std::endl;
      return false;
    }
    return true;
  }

  /// The text itself; null when the value is absent.
  const char* Text() const { return text_; }

private:
  template <class T>
  static T Converted(const std::string& text) {
    if constexpr (std::is_integral_v<T> && sizeof(T) > sizeof(char)) {
      // Where the global locale groups digits, the conversion would take its separators.
      if (text.find_first_not_of("+-0123456789") != std::string::npos) { throw boost::bad_lexical_cast(); }
    }
    if constexpr (std::is_floating_point_v<T>) {
      return std::locale() == std::locale::classic() ? boost::lexical_cast<T>(text) : FromPlainText<T>(text);
    } else if constexpr (std::is_same_v<T, short>) {
      // By way of int: for a short the conversion multiplies before it looks whether a character is a digit,
      // which overflows for some texts that are none.
      const int wide = boost::lexical_cast<int>(text);
      if (wide < std::numeric_limits<short>::min() || wide > std::numeric_limits<short>::max()) {
        throw boost::bad_lexical_cast();
      }
      return static_cast<short>(wide);
    } else {
      return boost::lexical_cast<T>(text);
    }
  }

  /// What boost::lexical_cast gives in the classic locale, without following the global one.
  template <class T>
  static T FromPlainText(const std::string& text) {
    // "inf" and "nan" in their many forms are read alike in all locales, and no other number has an n.
    if (text.find_first_of("nN") != std::string::npos) { return boost::lexical_cast<T>(text); }
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T value{};
    const bool isRead =
        (stream >> std::noskipws >> value) && stream.get() == std::istringstream::traits_type::eof();
    if (!isRead || std::string("eE+-").find(text.back()) != std::string::npos) {
      throw boost::bad_lexical_cast();
    }
    return value;
  }

  const char* text_ = nullptr;
};

}  // namespace brio::dbi
