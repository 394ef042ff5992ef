// A hardware date: a finite number for every text.
#include "RunHistory/HardwareDate.h"

#include <cmath>

#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const double date = brio::dbi::HardwareDate(brio::fuzz::Text(data, size).c_str());
  brio::fuzz::Require(std::isfinite(date), "a date is a finite number");
  return 0;
}
