#pragma once

#include <cstdint>
#include <iosfwd>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "framework/Export.h"

namespace brio::dbi {

/// One avalanche photodiode, with its test-stand gains and where it is installed.
struct APDInfo {
  std::string serial;                ///< last 7 characters of public.apd_stats.apd_id
  std::int32_t barcodedItemId = -1;  ///< millpondprod_factory.barcoded_item.barcoded_item_id
  std::int32_t batchNo = -1;         ///< public.apd_stats.batch_no of the row used
  std::int32_t targetDegC =
      std::numeric_limits<std::int32_t>::max();  ///< apd_stats.target_degc, degrees Celsius
  float vr =
      static_cast<float>(std::numeric_limits<std::uint32_t>::max());  ///< apd_stats.vr, volts, as stored
  std::int32_t module = -1;        ///< module_apd_connection.module, the module it is connected to
  std::int32_t connectionId = -1;  ///< module_apd_connection.connection_id
  double dateAdded = 0.0;          ///< barcoded_item.date_added, seconds since 1970 UTC
  /// public.apd_pixel_m.pixel_m by DAQ pixel number 0..31; 100 where nothing was measured.
  std::vector<float> pixelGains = std::vector<float>(32, 100.0F);
  /// Bit k when pixel k was measured; none for an APD without gains, which shows those of another.
  std::uint32_t measuredPixels = 0;
};

/// One front-end board, with its high-voltage fit. The numbers mean something only once they were assigned.
struct FEBInfo {
  std::string serial;                ///< millpondprod_factory.barcoded_item.barcode
  float hvFitIntercept = 0.0F;       ///< public.feb_test_summary.hvfitintercept
  float hvFitSlope = 0.0F;           ///< public.feb_test_summary.hvfitslope; a stored 0 reads as 0.02586
  std::uint32_t barcodedItemId = 0;  ///< barcoded_item.barcoded_item_id
  std::uint32_t module = 0;          ///< module_feb_connection.module, the module it is connected to
  std::uint32_t connectionId = 0;    ///< module_feb_connection.connection_id
  double dateAdded = 0.0;            ///< seconds since 1970 UTC; one date for all boards of a load
};

/// A place in the readout.
struct HardwareLocation {
  std::int32_t detector = 0;
  std::uint32_t diblock = 0;  ///< from 1
  std::uint32_t dcm = 0;      ///< within the diblock, from 1
  std::uint32_t port = 0;     ///< 0..63
};

/// By diblock, DCM, port; the detector takes no part, on purpose.
BRIO_EXPORT bool operator<(const HardwareLocation& a, const HardwareLocation& b);

/// Both end with a line end, inside a log message too.
BRIO_EXPORT std::ostream& operator<<(std::ostream& stream, const FEBInfo& feb);
BRIO_EXPORT std::ostream& operator<<(std::ostream& stream, const HardwareLocation& location);

using APDsByModule = std::map<std::uint32_t, APDInfo>;
using LocationMap = std::map<HardwareLocation, std::pair<FEBInfo, APDInfo>>;

/// FEB and APD at each location at the start of the run whose hardware was mapped last in this process, by
/// whichever RunHistory. Replaced whole by each mapping, never seen half-built. It has no lock: objects on
/// different threads must not map hardware or load APD settings at the same time.
extern BRIO_EXPORT LocationMap gLocToFA;

}  // namespace brio::dbi
