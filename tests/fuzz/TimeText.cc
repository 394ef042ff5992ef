// A time text: what is accepted reads back as the same calendar fields.
#include <ctime>

#include "database/Util.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = brio::fuzz::Text(data, size);
  constexpr long kUntouched = -123456789;
  long seconds = kUntouched;
  if (!brio::dbi::Util::TimeAsStringToTime_t(text, seconds)) {
    brio::fuzz::Require(seconds == kUntouched, "a text that is refused changes nothing");
    return 0;
  }
  const std::time_t time = seconds;
  std::tm fields{};
  brio::fuzz::Require(gmtime_r(&time, &fields) != nullptr, "the time is a time");
  char read[64];
  const auto length = std::strftime(read, sizeof(read), "-%m-%d %H:%M:%S", &fields);
  brio::fuzz::Require(text.find(std::string(read, length)) != std::string::npos, "the fields read back");
  brio::fuzz::Require(std::atol(text.c_str()) == 1900L + fields.tm_year, "the year reads back");
  return 0;
}
