#include "experiment/daqconfig/PixelEnableMasks.h"

#include <bitset>

#include "experiment/embedded/ConfigurationQuery.h"
#include "experiment/embedded/PackedConfiguration.h"

namespace dbutils::daqconfig {
namespace {

constexpr int kBytesPerMask = 4;
constexpr int kColumns = 3;
constexpr const char* kStatement =
    "SELECT m.dcm_name, m.feb_enable_mask::bigint, m.pixel_enable_masks::bytea FROM daqconfig.configurations "
    "c "
    "LEFT JOIN daqconfig.enable_masks m ON m.config_id = c.config_id "
    "WHERE c.config_id = $1";

}  // namespace

class PixelEnableMasks::Data {
public:
  Data(long long configId, const std::vector<std::string>& names)
      : dcms(names),
        febMasks(dcms.Index().Size()),
        pixelMasks(dcms.Index().Size() * FoundDCMs::kPorts),
        valid(names.empty() || Read(configId)) {}

  FoundDCMs dcms;
  std::vector<std::uint64_t> febMasks;
  std::vector<std::uint32_t> pixelMasks;
  bool valid;

private:
  bool Read(long long configId) {
    return ReadPacked(
        kStatement, kColumns, configId, "enable masks", dcms,
        [this](const brio::dbi::RowView& row, std::size_t position) { return Store(row, position); });
  }

  bool Store(const brio::dbi::RowView& row, std::size_t position) {
    const auto febMask = IntegerAt<std::uint64_t>(row, 1);
    if (!febMask || row.Length(2) != FoundDCMs::kPorts * kBytesPerMask) { return false; }
    febMasks[position] = *febMask;
    const char* masks = row.Text(2);
    for (std::size_t port = 0; port < FoundDCMs::kPorts; ++port) {
      pixelMasks[position * FoundDCMs::kPorts + port] =
          FromBigEndian<std::uint32_t>(masks + kBytesPerMask * port);
    }
    return true;
  }
};

PixelEnableMasks::PixelEnableMasks(
    const long long& configId,
    std::vector<std::string> dcmNames)  // NOLINT(performance-unnecessary-value-param)
    : data_(std::make_unique<Data>(configId, dcmNames)) {}

PixelEnableMasks::~PixelEnableMasks() = default;

bool PixelEnableMasks::hasValidData() const { return data_->valid; }

bool PixelEnableMasks::getFEBEnableMask(const std::string& dcmName, long long& mask) const {
  const auto position = data_->dcms.Find(dcmName);
  if (!position) { return false; }
  mask = static_cast<long long>(data_->febMasks[*position]);
  return true;
}

bool PixelEnableMasks::febIsEnabled(const std::string& dcmName, const int& port) const {
  const auto place = data_->dcms.FindPort(dcmName, port);
  if (!place) { return false; }
  return ((data_->febMasks[*place / FoundDCMs::kPorts] >> static_cast<unsigned int>(port)) & 1U) != 0;
}

bool PixelEnableMasks::getPixelEnableMask(const std::string& dcmName, const int& port, int& mask) const {
  const auto place = data_->dcms.FindPort(dcmName, port);
  if (!place) { return false; }
  mask = static_cast<int>(data_->pixelMasks[*place]);
  return true;
}

int PixelEnableMasks::getEnabledPixelCountForFEB(const std::string& dcmName, const int& port) const {
  const auto place = data_->dcms.FindPort(dcmName, port);
  return place ? static_cast<int>(std::bitset<32>(data_->pixelMasks[*place]).count()) : 0;
}

}  // namespace dbutils::daqconfig
