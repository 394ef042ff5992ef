// A DCM's application name: two numbers of at most two characters each, or std::out_of_range.
#include <stdexcept>

#include "RunHistory/ApplicationName.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto place = brio::dbi::PlaceOfDCM(brio::fuzz::Text(data, size));
    brio::fuzz::Require(place.diblock >= -9 && place.diblock <= 99, "the diblock has two characters");
    brio::fuzz::Require(place.dcm >= -9 && place.dcm <= 99, "the DCM has two characters");
    brio::fuzz::Require(size >= 9, "a short name is refused");
  } catch (const std::out_of_range&) { brio::fuzz::Require(size < 9, "only a short name is refused"); }
  return 0;
}
