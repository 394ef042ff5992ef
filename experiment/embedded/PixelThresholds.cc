#include "experiment/daqconfig/PixelThresholds.h"

#include "experiment/embedded/ConfigurationQuery.h"
#include "experiment/embedded/PackedConfiguration.h"

namespace dbutils::daqconfig {
namespace {

constexpr int kColumns = 2;
constexpr std::size_t kPixels = 32;
constexpr std::size_t kThresholdsPerDCM = FoundDCMs::kPorts * kPixels;
constexpr const char* kStatement =
    "SELECT t.dcm_name, t.thresholds::bytea FROM daqconfig.configurations c "
    "LEFT JOIN daqconfig.thresholds t ON t.config_id = c.config_id "
    "WHERE c.config_id = $1";

}  // namespace

class PixelThresholds::Data {
public:
  Data(long long configId, const std::vector<std::string>& names)
      : dcms(names),
        thresholds(dcms.Index().Size() * kThresholdsPerDCM),
        valid(names.empty() || Read(configId)) {}

  FoundDCMs dcms;
  std::vector<short> thresholds;
  bool valid;

private:
  bool Read(long long configId) {
    return ReadPacked(
        kStatement, kColumns, configId, "thresholds", dcms,
        [this](const brio::dbi::RowView& row, std::size_t position) { return Store(row, position); });
  }

  bool Store(const brio::dbi::RowView& row, std::size_t position) {
    if (row.Length(1) != static_cast<int>(kThresholdsPerDCM * sizeof(short))) { return false; }
    const char* packed = row.Text(1);
    for (std::size_t i = 0; i < kThresholdsPerDCM; ++i) {
      thresholds[position * kThresholdsPerDCM + i] =
          static_cast<short>(FromBigEndian<std::uint16_t>(packed + sizeof(short) * i));
    }
    return true;
  }
};

PixelThresholds::PixelThresholds(
    const long long& configId,
    std::vector<std::string> dcmNames)  // NOLINT(performance-unnecessary-value-param)
    : data_(std::make_unique<Data>(configId, dcmNames)) {}

PixelThresholds::~PixelThresholds() = default;

bool PixelThresholds::hasValidData() const { return data_->valid; }

bool PixelThresholds::getThresholdsForFEB(const std::string& dcmName, const int& port,
                                          std::vector<short>& thresholds) const {
  const auto place = data_->dcms.FindPort(dcmName, port);
  if (!place) { return false; }
  const short* first = &data_->thresholds[*place * kPixels];
  thresholds.assign(first, first + kPixels);
  return true;
}

}  // namespace dbutils::daqconfig
