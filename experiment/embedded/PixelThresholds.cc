#include "experiment/daqconfig/PixelThresholds.h"

#include "experiment/embedded/ConfigurationQuery.h"
#include "experiment/embedded/DCMIndex.h"
#include "framework/MessageLogger.h"

namespace dbutils::daqconfig {
namespace {

constexpr const char* kCategory = "DAQConfiguration";
constexpr std::size_t kPixels = 32;
constexpr std::size_t kThresholdsPerDCM = FoundDCMs::kPorts * kPixels;
constexpr const char* kStatement =
    "SELECT t.dcm_name, t.thresholds::bytea FROM daqconfig.configurations c "
    "LEFT JOIN daqconfig.thresholds t ON t.config_id = c.config_id AND t.dcm_name = ANY($2) "
    "WHERE c.config_id = $1";

}  // namespace

class PixelThresholds::Data {
public:
  Data(long long configId, const std::vector<std::string>& names)
      : dcms(names),
        thresholds(dcms.Index().Size() * kThresholdsPerDCM),
        valid(names.empty() || Read(configId, names)) {}

  FoundDCMs dcms;
  std::vector<short> thresholds;
  bool valid;

private:
  bool Read(long long configId, const std::vector<std::string>& names) {
    const auto rows =
        QueryConfiguration(brio::dbi::DatabaseKind::DAQConfiguration, kCategory, kStatement, configId, names);
    if (!rows) { return false; }
    if (PQntuples(rows.get()) == 0) {
      brio::LogError(kCategory) << "there is no configuration " << configId << " in daqconfig.configurations";
      return false;
    }
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
      ReadDCM(rows.get(), row);
    }
    return dcms.AllFound(kCategory, configId, "thresholds");
  }

  void ReadDCM(const PGresult* rows, int row) {
    const auto name = TextAt(rows, row, 0);
    if (!name) { return; }
    const auto position = dcms.Index().Find(*name);
    if (!position || PQgetlength(rows, row, 1) != static_cast<int>(kThresholdsPerDCM * sizeof(short))) {
      return;
    }
    const char* packed = PQgetvalue(rows, row, 1);
    for (std::size_t i = 0; i < kThresholdsPerDCM; ++i) {
      thresholds[*position * kThresholdsPerDCM + i] =
          static_cast<short>(FromBigEndian<std::uint16_t>(packed + sizeof(short) * i));
    }
    dcms.MarkFound(*position);
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
