#include "tools/shared/Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <sstream>
#include <utility>

#include "database/Util.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

/// JSON lets DEL and the control characters behind it stand in a text, which a terminal may obey.
std::string Escaped(const std::string& json) {
  std::string text;
  text.reserve(json.size());
  for (std::size_t i = 0; i < json.size(); ++i) {
    constexpr const char* kDigits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(json[i]);
    const auto next = static_cast<unsigned char>(i + 1 < json.size() ? json[i + 1] : '\0');
    if (byte == 0x7FU) {
      text += "\\u007f";
    } else if (byte == 0xC2U && next >= 0x80U && next < 0xA0U) {
      text += {'\\', 'u', '0', '0', kDigits[next >> 4U], kDigits[next & 0xFU]};
      ++i;
    } else {
      text += json[i];
    }
  }
  return text;
}

}  // namespace

std::string JsonText(const Json& value, int indent) {
  return Escaped(value.dump(indent, ' ', false, Json::error_handler_t::replace));
}

std::string OneLine(const std::string& text) {
  std::istringstream words(text);
  std::string line;
  for (std::string word; words >> word;) {
    line += (line.empty() ? "" : " ") + word;
  }
  return line;
}

std::string Fixed(double value, int digits) {
  std::array<char, 400> text{};  // room for the largest double
  char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
  std::string fixed(text.data(), end);
  const bool isZero = fixed.find_first_not_of("-0.") == std::string::npos;
  return isZero && fixed.front() == '-' ? fixed.substr(1) : fixed;
}

std::string Shortest(float value) {
  std::array<char, 64> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

double ShortestValue(float value) {
  const std::string text = Shortest(value);
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() ? number : static_cast<double>(value);
}

bool IsTime(const std::string& text) {
  long seconds = 0;
  return brio::dbi::Util::TimeAsStringToTime_t(text, seconds);
}

std::string InZone(const std::string& text) {
  constexpr std::size_t kBlank = 10;
  if (!IsTime(text) || text.size() <= kBlank || text[kBlank] != ' ') { return text; }
  return text.substr(0, kBlank) + 'T' + text.substr(kBlank + 1) + 'Z';
}

std::string Rounded(double value) {
  constexpr int kDigits = 7;
  std::array<char, 64> text{};
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigits);
  return {text.data(), end.ptr};
}

double RoundedValue(double value) {
  const std::string text = Rounded(value);
  double number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() ? number : value;
}

std::string Duration(std::time_t seconds) {
  constexpr std::time_t kMinute = 60;
  constexpr std::time_t kHour = 3600;
  std::string text;
  if (seconds >= kHour) { text = std::to_string(seconds / kHour) + " h "; }
  if (seconds >= kMinute) { text += std::to_string(seconds % kHour / kMinute) + " min "; }
  return text + std::to_string(seconds % kMinute) + " s";
}

std::string Counted(std::size_t number, const std::string& what) {
  return std::to_string(number) + ' ' + what + (number == 1 ? "" : "s");
}

std::string Ranges(const std::vector<int>& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
      ++last;
    }
    text += (text.empty() ? "" : ", ") + std::to_string(numbers[i]);
    if (last > i) { text += "-" + std::to_string(numbers[last]); }
    i = last + 1;
  }
  return text.empty() ? "none" : text;
}

void TextTable::Add(std::vector<std::string> row) {
  for (auto& cell : row) {
    cell = Visible(cell);
  }
  rows_.push_back(std::move(row));
}

std::string TextTable::Text() const {
  std::vector<std::size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
  std::string text;
  for (const auto& row : rows_) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      text += column == 0 ? "" : "  ";
      text += std::string(widths[column] - row[column].size(), ' ') + row[column];
    }
    text += '\n';
  }
  return text;
}

}  // namespace brio::tools
