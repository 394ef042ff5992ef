#include "experiment/DAQChannelMap.h"

#include <stdexcept>
#include <string>

#include "experiment/embedded/ChannelBits.h"
#include "experiment/embedded/FarDetectorMap.h"
#include "experiment/embedded/NearDetectorMap.h"

namespace daqchannelmap {
namespace {

constexpr int kNearDetector = 1;

[[noreturn]] void ThrowOutOfRange(const char* part, long long value, long long lowest, long long highest) {
  throw std::out_of_range("DAQChannelMap: " + std::string(part) + " " + std::to_string(value) +
                          " is outside " + std::to_string(lowest) + " to " + std::to_string(highest));
}

// Apart from the text of its exception, so that the compiler makes it part of its callers.
void RequireInRange(const char* part, long long value, long long lowest, long long highest) {
  if (value < lowest || value > highest) { ThrowOutOfRange(part, value, lowest, highest); }
}

}  // namespace

const DAQChannelMap* DAQChannelMap::getInstance(int detector) {
  // Never deleted, so that whoever asks while the process exits still finds them.
  static const auto* const nearMap = new NearDetectorMap;
  static const auto* const farMap = new FarDetectorMap;
  if (detector == kNearDetector) { return nearMap; }
  return farMap;
}

DAQChannel DAQChannelMap::encodeDChan(int detector, unsigned int diblock, unsigned int dcm, unsigned int feb,
                                      unsigned int pixel) const {
  RequireInRange("detector", detector, 0, 15);
  RequireInRange("diblock", diblock, 1, 63);
  RequireInRange("DCM", dcm, 1, 63);
  RequireInRange("FEB", feb, 0, 63);
  RequireInRange("pixel", pixel, 0, kPixels - 1);
  return PackDAQChannel(static_cast<unsigned int>(detector), diblock, dcm, feb, pixel);
}

LogicalChannel DAQChannelMap::encodeLChan(int detector, unsigned int plane, unsigned int cell) const {
  RequireInRange("detector", detector, 0, 15);
  RequireInRange("plane", plane, 0, 16383);
  RequireInRange("cell", cell, 0, 16383);
  return PackLogicalChannel(static_cast<unsigned int>(detector), plane, cell);
}

}  // namespace daqchannelmap
