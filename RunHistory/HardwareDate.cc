#include "RunHistory/HardwareDate.h"

#include <string>

#include "RunHistory/NumberText.h"
#include "framework/TimeStamp.h"

namespace brio::dbi {

double HardwareDate(const char* text) {
  const std::string date(text);
  const auto piece = [&](std::size_t from, std::size_t length) {
    return from < date.size() ? static_cast<unsigned int>(IntegerIn(date.substr(from, length))) : 0U;
  };
  return TTimeStamp(piece(0, 4), piece(5, 2), piece(8, 2), piece(12, 2), piece(15, 2), piece(18, 2), 0, true,
                    0)
      .AsDouble();
}

}  // namespace brio::dbi
