#include <map>
#include <ostream>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"

namespace {

using daqchannelmap::DAQChannelMap;

constexpr int kDetector = 1;
constexpr unsigned int kPlanes = 214;

const DAQChannelMap& Map() { return *DAQChannelMap::getInstance(kDetector); }

/// How many modules of 32 cells each plane has.
unsigned int ModulesOfPlane(unsigned int plane) {
  if (plane < 192) { return 3; }
  return plane % 2 == 0 && plane <= 208 ? 3 : 2;
}

TEST(NearDetectorMap, EveryChannelHasADAQChannelOfItsOwnAndComesBack) {
  std::set<daqchannelmap::DAQChannel> seen;
  for (unsigned int plane = 0; plane < kPlanes; ++plane) {
    for (unsigned int cell = 0; cell < 32 * ModulesOfPlane(plane); ++cell) {
      const auto logical = Map().encodeLChan(kDetector, plane, cell);
      const auto channel = Map().getDAQChannel(logical);
      ASSERT_NE(channel, DAQChannelMap::kNoChannel) << plane << ' ' << cell;
      ASSERT_EQ(Map().getDetector(channel), 1U);
      ASSERT_EQ(Map().getPixel(channel), cell % 32);
      ASSERT_TRUE(seen.insert(channel).second) << plane << ' ' << cell;
      ASSERT_EQ(Map().getLogicalChannel(channel), logical);
    }
  }
  EXPECT_EQ(seen.size(), 192U * 96 + (31 + 22) * 32);
}

TEST(NearDetectorMap, EveryDAQChannelThatReadsSomethingComesBack) {
  std::map<std::pair<unsigned int, unsigned int>, std::set<unsigned int>> boards;
  std::size_t channels = 0;
  for (unsigned int diblock = 1; diblock <= 63; ++diblock) {
    for (unsigned int dcm = 1; dcm <= 63; ++dcm) {
      for (unsigned int port = 0; port < 64; ++port) {
        for (unsigned int pixel = 0; pixel < 32; ++pixel) {
          const auto channel = Map().encodeDChan(kDetector, diblock, dcm, port, pixel);
          const auto logical = Map().getLogicalChannel(channel);
          if (logical == DAQChannelMap::kNoChannel) { continue; }
          ASSERT_EQ(Map().getDAQChannel(logical), channel);
          boards[{diblock, dcm}].insert(port);
          ++channels;
        }
      }
    }
  }
  EXPECT_EQ(channels, 192U * 96 + (31 + 22) * 32);

  const std::map<std::pair<unsigned int, unsigned int>, unsigned int> expected{
      {{1, 1}, 32}, {{1, 2}, 64}, {{1, 3}, 64}, {{1, 4}, 32}, {{2, 1}, 32}, {{2, 2}, 64}, {{2, 3}, 64},
      {{2, 4}, 32}, {{3, 1}, 32}, {{3, 2}, 64}, {{3, 3}, 64}, {{3, 4}, 32}, {{4, 1}, 31}, {{4, 2}, 22}};
  ASSERT_EQ(boards.size(), expected.size());
  for (const auto& [dcm, count] : expected) {
    ASSERT_EQ(boards[dcm].size(), count) << "diblock " << dcm.first << " DCM " << dcm.second;
    EXPECT_EQ(*boards[dcm].rbegin(), count - 1) << "diblock " << dcm.first << " DCM " << dcm.second;
  }
}

TEST(NearDetectorMap, TheMuonCatchersPortsAreCountedPlaneByPlaneModuleByModule) {
  unsigned int nextPort[2] = {0, 0};
  for (unsigned int plane = 192; plane < kPlanes; ++plane) {
    const unsigned int view = plane % 2;
    for (unsigned int module = 0; module < ModulesOfPlane(plane); ++module) {
      const auto channel = Map().getDAQChannel(Map().encodeLChan(kDetector, plane, 32 * module));
      EXPECT_EQ(channel, Map().encodeDChan(kDetector, 4, view + 1, nextPort[view]++, 0))
          << plane << ' ' << module;
    }
  }
}

struct Place {
  unsigned int plane, cell, diblock, dcm, port, pixel;

  friend std::ostream& operator<<(std::ostream& out, const Place& place) {
    return out << "plane " << place.plane << " cell " << place.cell;
  }
};

class NearDetectorPlaces : public testing::TestWithParam<Place> {};

TEST_P(NearDetectorPlaces, AreReadOutWhereTheLayoutSays) {
  const auto& [plane, cell, diblock, dcm, port, pixel] = GetParam();
  EXPECT_EQ(Map().getDAQChannel(Map().encodeLChan(kDetector, plane, cell)),
            Map().encodeDChan(kDetector, diblock, dcm, port, pixel));
}

INSTANTIATE_TEST_SUITE_P(Chosen, NearDetectorPlaces,
                         testing::Values(Place{0, 0, 1, 1, 0, 0},         // even plane, lowest module
                                         Place{0, 32, 1, 2, 0, 0},        // middle
                                         Place{0, 95, 1, 2, 32, 31},      // highest
                                         Place{1, 0, 1, 3, 0, 0},         // odd plane, lowest module
                                         Place{1, 40, 1, 3, 32, 8},       // middle
                                         Place{1, 64, 1, 4, 0, 0},        // highest
                                         Place{63, 95, 1, 4, 31, 31},     // the end of the first diblock
                                         Place{64, 0, 2, 1, 0, 0},        // the start of the second
                                         Place{191, 63, 3, 3, 63, 31},    // the last plane before the catcher
                                         Place{192, 0, 4, 1, 0, 0},       // its first plane
                                         Place{208, 95, 4, 1, 26, 31},    // the last with three modules
                                         Place{210, 0, 4, 1, 27, 0},      // the first even one with two
                                         Place{212, 63, 4, 1, 30, 31},    // the last even one
                                         Place{193, 0, 4, 2, 0, 0},       // the first odd one
                                         Place{213, 63, 4, 2, 21, 31}));  // the last plane

TEST(NearDetectorMap, HasNoChannelOutsideItsPlanesAndCells) {
  for (const auto& [plane, cell] :
       {std::pair{214U, 0U}, {16383U, 0U}, {0U, 96U}, {1U, 16383U}, {193U, 64U}, {208U, 96U}, {210U, 64U}}) {
    EXPECT_EQ(Map().getDAQChannel(Map().encodeLChan(kDetector, plane, cell)), DAQChannelMap::kNoChannel)
        << plane << ' ' << cell;
  }
}

TEST(NearDetectorMap, HasNoChannelInFieldsThatNoEncoderFills) {
  for (const auto channel : {
           0x10010000U,  // diblock 0
           0x10400000U,  // DCM 0
           0x10824000U,  // diblock 2, DCM 2, FEB 64
           0x1082FF00U,  // diblock 2, DCM 2, FEB 255
           0x1101FF00U,  // diblock 4, DCM 1, FEB 255
           0x10410020U,  // pixel 32
       }) {
    EXPECT_EQ(Map().getLogicalChannel(channel), DAQChannelMap::kNoChannel) << std::hex << channel;
  }
  EXPECT_NE(Map().getLogicalChannel(0x10823F1FU), DAQChannelMap::kNoChannel);  // just inside
}

}  // namespace
