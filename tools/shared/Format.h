#pragma once

#include <ctime>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace brio::tools {

/// Keeps the order in which members were added: that of the text form.
using Json = nlohmann::ordered_json;

/// A value as JSON text, so many blanks a level deep; -1 for all on one line. What a database holds need not
/// be UTF-8: bytes that are not become U+FFFD.
std::string JsonText(const Json& value, int indent = 2);

/// Line ends and tabs become blanks, several of them one.
std::string OneLine(const std::string& text);

/// A number with so many digits behind the point.
std::string Fixed(double value, int digits);

/// The shortest text that reads back as the same number, and that number: 0.1F as "0.1" and 0.1.
std::string Shortest(float value);
double ShortestValue(float value);

/// Whether a time of a run record, "2014-06-10 03:00:00", is one.
bool IsTime(const std::string& text);

/// Such a time with its zone, "2014-06-10T03:00:00Z"; another text as it is.
std::string InZone(const std::string& text);

/// A number to seven digits, which leaves out those that adding makes up: "100.236"; and that number.
std::string Rounded(double value);
double RoundedValue(double value);

/// "8 h 50 min 0 s"; hours are left out when there are none.
std::string Duration(std::time_t seconds);

/// "1 board", "2 boards".
std::string Counted(std::size_t number, const std::string& what);

/// Numbers in ascending order as ranges: "1-6, 8-9"; "none" for none.
std::string Ranges(const std::vector<int>& numbers);

/// Lines of a table whose columns are set flush right, with two blanks between them. The first row is the
/// heading.
class TextTable {
public:
  explicit TextTable(std::vector<std::string> heading) { Add(std::move(heading)); }
  /// Texts are made visible.
  void Add(std::vector<std::string> row);
  std::string Text() const;

private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace brio::tools
