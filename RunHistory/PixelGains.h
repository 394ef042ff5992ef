#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database/RowDigest.h"
#include "database/RowView.h"
#include "framework/Export.h"

namespace brio::dbi {

class Table;

/// 32 gains by DAQ pixel number, by APD serial.
using GainsBySerial = std::map<std::string, std::vector<float>>;

/// The statement that reads the test stand's gains below zero degrees of all APDs, from public.apd_pixel_m.
extern const char* const kGainsStatement;

/// Takes the rows of that statement in their order. Of each APD only the highest batch counts; where it
/// measured a pixel at several temperatures, the warmest wins. Pixels without a measurement are 100.
/// What it keeps is a hundredth of the rows.
class BRIO_EXPORT_PRIVATE GainsReader final : public RowDigest {
public:
  explicit GainsReader(int detector);
  void Take(const RowView& row) override;
  std::string Name() const override;
  std::string Bytes() const override;
  bool Restore(std::string_view bytes) override;
  GainsBySerial TakeGains() { return std::move(gains_); }

private:
  void Begin(const char* serial, int batch);

  std::array<unsigned int, 32> pixels_;
  GainsBySerial gains_;
  GainsBySerial::value_type* current_ = nullptr;  ///< the APD of the row before
  int batch_ = 0;
  bool batchGoesOn_ = false;
};

/// Asks for all gains. A million rows are read while the server still makes them, and never all in memory.
/// \return nothing when the query failed, at whatever row
BRIO_EXPORT_PRIVATE std::optional<GainsBySerial> PullGains(Table& table, int detector);

}  // namespace brio::dbi
