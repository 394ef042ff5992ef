#include "database/Util.h"

#include <cctype>
#include <charconv>
#include <ctime>

namespace brio::dbi {
namespace {

/// Reads digits and the character behind them; fails on anything else and on fewer digits than wanted.
bool ReadNumber(const char*& at, const char* end, int minimumDigits, int maximumDigits, int& value) {
  const char* start = at;
  while (at != end && at - start < maximumDigits && std::isdigit(static_cast<unsigned char>(*at)) != 0) {
    ++at;
  }
  return at - start >= minimumDigits && std::from_chars(start, at, value).ec == std::errc();
}

bool Skip(const char*& at, const char* end, char expected) {
  if (at == end || *at != expected) { return false; }
  ++at;
  return true;
}

bool SkipFraction(const char*& at, const char* end) {
  if (at == end || *at != '.') { return true; }
  const char* start = ++at;
  while (at != end && std::isdigit(static_cast<unsigned char>(*at)) != 0) {
    ++at;
  }
  return at != start;
}

}  // namespace

bool Util::TimeAsStringToTime_t(std::string text, long& t) {
  const char* at = text.data();
  const char* end = at + text.size();
  std::tm fields{};
  const bool read = ReadNumber(at, end, 4, 6, fields.tm_year) && Skip(at, end, '-') &&
                    ReadNumber(at, end, 2, 2, fields.tm_mon) && Skip(at, end, '-') &&
                    ReadNumber(at, end, 2, 2, fields.tm_mday) && Skip(at, end, ' ') &&
                    ReadNumber(at, end, 2, 2, fields.tm_hour) && Skip(at, end, ':') &&
                    ReadNumber(at, end, 2, 2, fields.tm_min) && Skip(at, end, ':') &&
                    ReadNumber(at, end, 2, 2, fields.tm_sec) && SkipFraction(at, end) && at == end;
  if (!read || fields.tm_hour > 23 || fields.tm_min > 59 || fields.tm_sec > 59) { return false; }
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  const std::tm asked = fields;
  const std::time_t converted = timegm(&fields);
  // timegm carries days that do not exist over into the next month.
  if (fields.tm_mon != asked.tm_mon || fields.tm_mday != asked.tm_mday) { return false; }
  t = static_cast<long>(converted);
  return true;
}

}  // namespace brio::dbi
