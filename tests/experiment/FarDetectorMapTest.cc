#include <ostream>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"

namespace {

using daqchannelmap::DAQChannelMap;

constexpr int kDetector = 2;
constexpr unsigned int kPlanes = 896;
constexpr unsigned int kCells = 384;

const DAQChannelMap& Map() { return *DAQChannelMap::getInstance(kDetector); }

TEST(FarDetectorMap, EveryChannelHasADAQChannelOfItsOwnAndComesBack) {
  // One mark for each diblock, DCM, port and pixel.
  std::vector<bool> taken(14UL * 12 * 64 * 32, false);
  for (unsigned int plane = 0; plane < kPlanes; ++plane) {
    for (unsigned int cell = 0; cell < kCells; ++cell) {
      const auto logical = Map().encodeLChan(kDetector, plane, cell);
      const auto channel = Map().getDAQChannel(logical);
      ASSERT_EQ(Map().getDetector(channel), 2U);
      const auto diblock = Map().getDiBlock(channel);
      const auto dcm = Map().getDCM(channel);
      const auto port = Map().getFEB(channel);
      const auto pixel = Map().getPixel(channel);
      ASSERT_TRUE(diblock >= 1 && diblock <= 14) << plane << ' ' << cell;
      ASSERT_TRUE(dcm >= 1 && dcm <= 12) << plane << ' ' << cell;
      ASSERT_TRUE(port < 64 && pixel < 32) << plane << ' ' << cell;
      const auto place = (((diblock - 1UL) * 12 + (dcm - 1)) * 64 + port) * 32 + pixel;
      ASSERT_FALSE(taken[place]) << plane << ' ' << cell;
      taken[place] = true;
      ASSERT_EQ(Map().getLogicalChannel(channel), logical);
    }
  }
  // As many channels as places, each place taken once: so every place is taken.
  EXPECT_EQ(taken.size(), 344064U);
  EXPECT_EQ(static_cast<std::size_t>(kPlanes) * kCells, taken.size());
}

TEST(FarDetectorMap, EveryDAQChannelComesBack) {
  for (unsigned int diblock = 1; diblock <= 14; ++diblock) {
    for (unsigned int dcm = 1; dcm <= 12; ++dcm) {
      for (unsigned int port = 0; port < 64; ++port) {
        for (unsigned int pixel = 0; pixel < 32; ++pixel) {
          const auto channel = Map().encodeDChan(kDetector, diblock, dcm, port, pixel);
          const auto logical = Map().getLogicalChannel(channel);
          ASSERT_LT(Map().getPlane(logical), kPlanes);
          ASSERT_LT(Map().getCell(logical), kCells);
          ASSERT_EQ(Map().getDAQChannel(logical), channel);
        }
      }
    }
  }
}

/// Written out by hand, with no word of the formulas.
struct Place {
  unsigned int plane, cell, diblock, dcm, port, pixel;

  friend std::ostream& operator<<(std::ostream& out, const Place& place) {
    return out << "plane " << place.plane << " cell " << place.cell;
  }
};

class FarDetectorPlaces : public testing::TestWithParam<Place> {};

TEST_P(FarDetectorPlaces, AreReadOutWhereTheLayoutSays) {
  const auto& [plane, cell, diblock, dcm, port, pixel] = GetParam();
  EXPECT_EQ(Map().getDAQChannel(Map().encodeLChan(kDetector, plane, cell)),
            Map().encodeDChan(kDetector, diblock, dcm, port, pixel));
}

INSTANTIATE_TEST_SUITE_P(
    Chosen, FarDetectorPlaces,
    testing::Values(Place{0, 0, 1, 1, 0, 0},            // the first channel
                    Place{0, 31, 1, 1, 0, 31},          // the last pixel of its module
                    Place{0, 32, 1, 1, 32, 0},          // the DCM's second module, on its upper ports
                    Place{0, 64, 1, 2, 0, 0},           // the third module, on the next DCM
                    Place{1, 0, 1, 7, 0, 0},            // the other view
                    Place{2, 0, 1, 1, 1, 0},            // the view's next plane
                    Place{62, 63, 1, 1, 63, 31},        // the last port of the first DCM
                    Place{63, 383, 1, 12, 63, 31},      // the last channel of the first diblock
                    Place{64, 0, 2, 1, 0, 0},           // the first of the second
                    Place{100, 200, 2, 4, 18, 8},       // 200 = 6 * 32 + 8: module 6
                    Place{501, 119, 8, 8, 58, 23},      // 501 = 7 * 64 + 53, 119 = 3 * 32 + 23
                    Place{895, 383, 14, 12, 63, 31}));  // the last channel

TEST(FarDetectorMap, HasNoChannelOutsideItsPlanesAndCells) {
  for (const auto& [plane, cell] : {std::pair{896U, 0U}, {0U, 384U}, {895U, 384U}, {16383U, 16383U}}) {
    EXPECT_EQ(Map().getDAQChannel(Map().encodeLChan(kDetector, plane, cell)), DAQChannelMap::kNoChannel)
        << plane << ' ' << cell;
  }
}

TEST(FarDetectorMap, HasNoChannelOutsideItsBoards) {
  for (const auto channel : {
           Map().encodeDChan(kDetector, 15, 1, 0, 0), Map().encodeDChan(kDetector, 63, 1, 0, 0),
           Map().encodeDChan(kDetector, 1, 13, 0, 0), Map().encodeDChan(kDetector, 1, 63, 0, 0),
           0x20010000U,  // diblock 0
           0x20400000U,  // DCM 0
           0x20414000U,  // FEB 64
           0x2041FF00U,  // FEB 255
           0x20410020U,  // pixel 32
           0x204100FFU,  // pixel 255
       }) {
    EXPECT_EQ(Map().getLogicalChannel(channel), DAQChannelMap::kNoChannel) << std::hex << channel;
  }
  EXPECT_NE(Map().getLogicalChannel(0x20413F1FU), DAQChannelMap::kNoChannel);  // just inside
}

TEST(FarDetectorMap, IsTheLayoutOfEveryDetectorButTheNearOne) {
  for (const int detector : {0, 3, 4, 5, 7, 15}) {
    const auto& map = *DAQChannelMap::getInstance(detector);
    const auto logical = map.encodeLChan(detector, 895, 383);
    const auto channel = map.getDAQChannel(logical);
    EXPECT_EQ(channel, map.encodeDChan(detector, 14, 12, 63, 31)) << detector;
    EXPECT_EQ(map.getLogicalChannel(channel), logical) << detector;
  }
}

}  // namespace
