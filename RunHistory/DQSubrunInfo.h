#pragma once

#include <cstdint>

namespace brio::dbi {

/// Data-quality summary of one subrun, from the dqsubruninfo table (see RunHistory/tables/DQSubrunInfo.xml).
struct DQSubrunInfo {
  std::int32_t run = 0;      ///< the RunHistory's run number
  std::int16_t subrun = -1;  ///< column "subrun"
  std::int32_t flag = 0;     ///< column "flag"
  std::int32_t version = 0;  ///< column "version" of the first row read: the newest
  float miprate = 0.0F;      ///< column "miprate"
  std::int32_t ngooddb = 0;  ///< column "ngooddb", number of good diblocks
  float numslc = 0.0F;       ///< column "numslc", slices
  float trkfrac = 0.0F;      ///< column "trkfrac", track fraction
};

}  // namespace brio::dbi
