#include "RunHistory/PixelGains.h"

#include <cstring>

#include "RunHistory/GainsDigest.h"
#include "RunHistory/NumberText.h"
#include "database/PerformPGQuery.h"
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
constexpr int kColumns = 6;

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

GainsReader::GainsReader(int detector) : pixels_(PixelsByTesterIndex(detector)) {}

void GainsReader::Take(const RowView& row) {
  const char* serial = row.Text(kSerial);
  const bool sameAPD = current_ != nullptr && std::strcmp(current_->first.c_str(), serial) == 0;
  if (sameAPD && !batchGoesOn_) { return; }
  const int batch = IntegerIn(row.Text(kBatch));
  if (!sameAPD) { Begin(serial, batch); }
  batchGoesOn_ = batchGoesOn_ && batch == batch_;
  if (!batchGoesOn_) { return; }
  const int index = TesterIndex(row.Text(kPixelColumn), row.Text(kPixelRow));
  if (index < 0 || index >= kPixels) { return; }
  current_->second[pixels_[static_cast<std::size_t>(index)]] = FloatIn(row.Text(kGain));
}

/// An APD that was met before keeps the gains that it has.
void GainsReader::Begin(const char* serial, int batch) {
  const std::size_t before = gains_.size();
  current_ = &*gains_.try_emplace(gains_.end(), serial);  // they come in this order
  const bool isNew = gains_.size() > before;
  if (isNew) { current_->second.assign(kPixels, kUnmeasuredGain); }
  batch_ = batch;
  batchGoesOn_ = isNew;
}

std::string GainsReader::Name() const { return kGainsDigest; }

std::string GainsReader::Bytes() const { return GainsBytes(gains_); }

bool GainsReader::Restore(std::string_view bytes) {
  auto gains = GainsFrom(bytes);
  current_ = nullptr;
  gains_ = gains ? std::move(*gains) : GainsBySerial();
  return gains.has_value();
}

std::optional<GainsBySerial> PullGains(Table& table, int detector) {
  GainsReader reader(detector);
  if (!PerformPGQuery(kGainsStatement, table, reader, kColumns)) { return std::nullopt; }
  return reader.TakeGains();
}

}  // namespace brio::dbi
