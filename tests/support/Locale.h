#pragma once

#include <ios>
#include <locale>
#include <ostream>
#include <string>

namespace brio::test {

/// A locale with a decimal comma and dots between thousands, made here since a machine may have none of that
/// kind.
inline std::locale DecimalCommaFacet() {
  struct Punctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  return {std::locale::classic(), new Punctuation};
}

/// Makes that the C++ library's global locale until the object dies.
class GlobalDecimalComma {
public:
  GlobalDecimalComma() : before_(std::locale::global(DecimalCommaFacet())) {}
  ~GlobalDecimalComma() { std::locale::global(before_); }
  GlobalDecimalComma(const GlobalDecimalComma&) = delete;
  GlobalDecimalComma& operator=(const GlobalDecimalComma&) = delete;

private:
  std::locale before_;
};

/// Leaves on a stream, until the object dies, all that a client may leave there: another base, signs, a width
/// with a fill, a precision, a locale.
class OddFormat {
public:
  explicit OddFormat(std::ostream& stream) : stream_(stream) {
    before_.copyfmt(stream);
    stream.setf(kFlags);
    stream.unsetf(std::ios_base::dec);
    stream.width(kWidth);
    stream.precision(2);
    stream.fill('*');
    stream.imbue(DecimalCommaFacet());
  }
  ~OddFormat() { stream_.copyfmt(before_); }
  OddFormat(const OddFormat&) = delete;
  OddFormat& operator=(const OddFormat&) = delete;

  /// True while the stream is as the constructor left it.
  bool IsKept() const {
    return (stream_.flags() & kFlags) == kFlags && (stream_.flags() & std::ios_base::dec) == 0 &&
           stream_.width() == kWidth && stream_.precision() == 2 && stream_.fill() == '*' &&
           std::use_facet<std::numpunct<char>>(stream_.getloc()).decimal_point() == ',';
  }

private:
  static constexpr std::ios_base::fmtflags kFlags = std::ios_base::hex | std::ios_base::showbase |
                                                    std::ios_base::showpos | std::ios_base::fixed |
                                                    std::ios_base::internal;
  static constexpr std::streamsize kWidth = 100;

  std::ostream& stream_;
  std::ios before_{nullptr};
};

}  // namespace brio::test
