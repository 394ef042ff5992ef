#include "RunHistory/HardwareRecords.h"

#include <ostream>
#include <tuple>

namespace brio::dbi {

LocationMap gLocToFA;

bool operator<(const HardwareLocation& a, const HardwareLocation& b) {
  return std::tie(a.diblock, a.dcm, a.port) < std::tie(b.diblock, b.dcm, b.port);
}

std::ostream& operator<<(std::ostream& stream, const FEBInfo& feb) {
  return stream << "FEB: " << feb.serial << " " << feb.barcodedItemId << " " << feb.module << " "
                << feb.hvFitIntercept << " " << feb.hvFitSlope << " " << feb.connectionId << " "
                << feb.dateAdded << std::endl;
}

std::ostream& operator<<(std::ostream& stream, const HardwareLocation& location) {
  return stream << "dcm-" << location.detector << "-" << location.diblock << "-" << location.dcm << "-"
                << location.port << std::endl;
}

}  // namespace brio::dbi
