#include "RunHistory/PixelGains.h"

#include <array>
#include <cstring>

#include "RunHistory/NumberText.h"
#include "experiment/DAQChannelMap.h"

namespace brio::dbi {

const char* const kGainsStatement =
    "select right(gain.apd_id, 7), gain.batch_no, gain.target_degc, gain.pixel_col, gain.pixel_row, "
    "gain.pixel_m "
    "from public.apd_pixel_m gain where gain.target_degc<0 "
    "ORDER BY right(gain.apd_id, 7) ASC, gain.batch_no DESC, gain.target_degc ASC, "
    "gain.pixel_col ASC, gain.pixel_row ASC";

namespace {

constexpr int kPixels = 32;
constexpr float kUnmeasuredGain = 100.0F;

enum GainColumn { kSerial, kBatch, kTemperature, kPixelColumn, kPixelRow, kGain };

/// The DAQ pixel number of each of the test stand's 32 pixels.
std::array<unsigned int, kPixels> PixelsByTesterIndex(int detector) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(detector);
  std::array<unsigned int, kPixels> pixels{};
  for (unsigned int index = 0; index < kPixels; ++index) {
    pixels[index] = map.getPixelOfTesterIndex(map.encodeDChan(detector, 1, 1, 1, index));
  }
  return pixels;
}

/// Eight rows to a column, columns "A" to "D"; any other text counts as "A".
int TesterIndex(const char* column, const char* row) {
  int offset = 0;
  if (*column >= 'B' && *column <= 'D' && column[1] == '\0') { offset = 8 * (*column - 'A'); }
  return static_cast<int>(static_cast<unsigned int>(IntegerIn(row)) - 1U + static_cast<unsigned int>(offset));
}

}  // namespace

GainsBySerial ReadGains(const PGresult* rows, int detector) {
  const auto pixels = PixelsByTesterIndex(detector);
  const auto text = [rows](int row, GainColumn column) { return PQgetvalue(rows, row, column); };
  const int nRows = PQntuples(rows);
  GainsBySerial gains;
  for (int row = 0; row < nRows;) {
    const char* serial = text(row, kSerial);
    const auto sameSerial = [&] { return row < nRows && std::strcmp(text(row, kSerial), serial) == 0; };
    const auto [entry, isNew] = gains.try_emplace(serial);
    if (isNew) {
      auto& ofAPD = entry->second;
      ofAPD.assign(kPixels, kUnmeasuredGain);
      const int batch = IntegerIn(text(row, kBatch));
      for (; sameSerial() && IntegerIn(text(row, kBatch)) == batch; ++row) {
        const int index = TesterIndex(text(row, kPixelColumn), text(row, kPixelRow));
        if (index < 0 || index >= kPixels) { continue; }
        ofAPD[pixels[static_cast<std::size_t>(index)]] = static_cast<float>(NumberIn(text(row, kGain)));
      }
    }
    while (sameSerial()) {
      ++row;
    }
  }
  return gains;
}

}  // namespace brio::dbi
