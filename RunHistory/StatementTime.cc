#include "RunHistory/StatementTime.h"

#include <string_view>

#include "database/PerformPGQuery.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

// Digits and signs; letters for "infinity" and "BC".
constexpr std::string_view kInTimes = "0123456789-+:. abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t kLongestShown = 100;

/// As it would stand in a program, and no longer than a line.
std::string Escaped(const std::string& text) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  std::string escaped;
  for (const char character : text.substr(0, kLongestShown)) {
    const auto code = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      escaped += {'\\', character};
    } else if (code < 0x20 || code >= 0x7F) {
      escaped += {'\\', 'x', kHexDigits[code / 16], kHexDigits[code % 16]};
    } else {
      escaped += character;
    }
  }
  return text.size() > kLongestShown ? escaped + "..." : escaped;
}

void GiveUp(const std::string& query, Table& table) {
  LogError("RunHistory") << "Query failed: " << query;
  table.CloseConnection();
}

}  // namespace

bool MayStandInStatement(const std::string& time) {
  if (time.find_first_not_of(kInTimes) == std::string::npos) { return true; }
  LogError("RunHistory") << "the run's start is no time, and no statement is sent with it: \""
                         << Escaped(time) << '"';
  return false;
}

bool PerformPGQueryAt(const std::string& time, const std::string& query, Table& table, Rows& rows,
                      int columns) {
  if (MayStandInStatement(time)) { return PerformPGQuery(query, table, rows, columns); }
  GiveUp(query, table);
  rows = Rows();
  return false;
}

std::optional<int> PerformPGQueryAt(const std::string& time, const std::string& query, Table& table,
                                    const RowConsumer& take, int columns) {
  if (MayStandInStatement(time)) { return PerformPGQuery(query, table, take, columns); }
  GiveUp(query, table);
  return std::nullopt;
}

}  // namespace brio::dbi
