#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"

namespace {

using daqchannelmap::DAQChannelMap;
using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr int kNear = 1;
constexpr int kFar = 2;

const DAQChannelMap& FarMap() { return *DAQChannelMap::getInstance(kFar); }

TEST(DAQChannelMap, GivesTheSameMapForADetectorEveryTime) {
  for (const int detector : {-1, 0, kNear, kFar, 3, 4, 5, 7, 15, 1000}) {
    const auto* map = DAQChannelMap::getInstance(detector);
    ASSERT_NE(map, nullptr) << detector;
    EXPECT_EQ(map, DAQChannelMap::getInstance(detector)) << detector;
  }
}

TEST(DAQChannelMap, PacksDAQChannelsIntoTheirBitFields) {
  EXPECT_EQ(FarMap().encodeDChan(2, 14, 12, 63, 31), 0x238C3F1FU);
  EXPECT_EQ(FarMap().encodeDChan(0, 1, 1, 0, 0), 0x00410000U);
  EXPECT_EQ(FarMap().encodeDChan(15, 63, 63, 63, 31), 0xFFFF3F1FU);
}

TEST(DAQChannelMap, PacksLogicalChannelsIntoTheirBitFields) {
  EXPECT_EQ(FarMap().encodeLChan(2, 895, 383), 0x20DFC17FU);
  EXPECT_EQ(FarMap().encodeLChan(0, 0, 0), 0U);
  EXPECT_EQ(FarMap().encodeLChan(15, 16383, 16383), 0xFFFFFFFFU);
}

TEST(DAQChannelMap, DecodesThePartsItEncoded) {
  const auto channel = FarMap().encodeDChan(7, 41, 22, 50, 19);
  EXPECT_EQ(FarMap().getDetector(channel), 7U);
  EXPECT_EQ(FarMap().getDiBlock(channel), 41U);
  EXPECT_EQ(FarMap().getDCM(channel), 22U);
  EXPECT_EQ(FarMap().getFEB(channel), 50U);
  EXPECT_EQ(FarMap().getPixel(channel), 19U);

  const auto logical = FarMap().encodeLChan(5, 10923, 5461);
  EXPECT_EQ(FarMap().getDetector(logical), 5U);
  EXPECT_EQ(FarMap().getPlane(logical), 10923U);
  EXPECT_EQ(FarMap().getCell(logical), 5461U);
}

TEST(DAQChannelMap, NoChannelDecodesToNothingButZeros) {
  const auto none = DAQChannelMap::kNoChannel;
  EXPECT_EQ(FarMap().getDetector(none), 0U);
  EXPECT_EQ(FarMap().getDiBlock(none), 0U);
  EXPECT_EQ(FarMap().getDCM(none), 0U);
  EXPECT_EQ(FarMap().getFEB(none), 0U);
  EXPECT_EQ(FarMap().getPixel(none), 0U);
}

/// A DAQ channel with one part out of its range, and what the exception says of it.
struct BadDAQChannel {
  int detector;
  unsigned int diblock, dcm, feb, pixel;
  const char* complaint;

  friend std::ostream& operator<<(std::ostream& out, const BadDAQChannel& bad) {
    return out << bad.complaint;
  }
};

class DAQChannelOutOfRange : public testing::TestWithParam<BadDAQChannel> {};

TEST_P(DAQChannelOutOfRange, NamesPartValueAndRange) {
  const auto& bad = GetParam();
  EXPECT_THAT([&] { FarMap().encodeDChan(bad.detector, bad.diblock, bad.dcm, bad.feb, bad.pixel); },
              ThrowsMessage<std::out_of_range>(HasSubstr(bad.complaint)));
}

INSTANTIATE_TEST_SUITE_P(EachBound, DAQChannelOutOfRange,
                         testing::Values(BadDAQChannel{-1, 1, 1, 0, 0, "detector -1 is outside 0 to 15"},
                                         BadDAQChannel{16, 1, 1, 0, 0, "detector 16 is outside 0 to 15"},
                                         BadDAQChannel{2, 0, 1, 0, 0, "diblock 0 is outside 1 to 63"},
                                         BadDAQChannel{2, 64, 1, 0, 0, "diblock 64 is outside 1 to 63"},
                                         BadDAQChannel{2, 1, 0, 0, 0, "DCM 0 is outside 1 to 63"},
                                         BadDAQChannel{2, 1, 64, 0, 0, "DCM 64 is outside 1 to 63"},
                                         BadDAQChannel{2, 1, 1, 64, 0, "FEB 64 is outside 0 to 63"},
                                         BadDAQChannel{2, 1, 1, 4294967295U, 0, "FEB 4294967295 is outside"},
                                         BadDAQChannel{2, 1, 1, 0, 32, "pixel 32 is outside 0 to 31"},
                                         BadDAQChannel{2, 1, 1, 0, 4294967295U, "pixel 4294967295 is"}));

struct BadLogicalChannel {
  int detector;
  unsigned int plane, cell;
  const char* complaint;

  friend std::ostream& operator<<(std::ostream& out, const BadLogicalChannel& bad) {
    return out << bad.complaint;
  }
};

class LogicalChannelOutOfRange : public testing::TestWithParam<BadLogicalChannel> {};

TEST_P(LogicalChannelOutOfRange, NamesPartValueAndRange) {
  const auto& bad = GetParam();
  EXPECT_THAT([&] { FarMap().encodeLChan(bad.detector, bad.plane, bad.cell); },
              ThrowsMessage<std::out_of_range>(HasSubstr(bad.complaint)));
}

INSTANTIATE_TEST_SUITE_P(EachBound, LogicalChannelOutOfRange,
                         testing::Values(BadLogicalChannel{-1, 0, 0, "detector -1 is outside 0 to 15"},
                                         BadLogicalChannel{16, 0, 0, "detector 16 is outside 0 to 15"},
                                         BadLogicalChannel{2, 16384, 0, "plane 16384 is outside 0 to 16383"},
                                         BadLogicalChannel{2, 0, 16384, "cell 16384 is outside 0 to 16383"}));

TEST(DAQChannelMap, TesterPixelsAreColumnsOfEightReadAsRowsOfFour) {
  for (const int detector : {kNear, kFar}) {
    const auto& map = *DAQChannelMap::getInstance(detector);
    std::set<unsigned int> pixels;
    for (unsigned int column = 0; column < 4; ++column) {
      for (unsigned int row = 0; row < 8; ++row) {
        const unsigned int index = 8 * column + row;
        const auto pixel = map.getPixelOfTesterIndex(map.encodeDChan(detector, 1, 1, 1, index));
        EXPECT_EQ(pixel, 4 * row + column);
        EXPECT_EQ(pixel, 4 * (index % 8) + index / 8);
        pixels.insert(pixel);
      }
    }
    EXPECT_EQ(pixels.size(), 32U);
  }
}

TEST(DAQChannelMap, ConversionsTakeAnyNumber) {
  std::mt19937 random(20100101);  // NOLINT(cert-msc51-cpp): the same numbers in every run
  for (const int detector : {kNear, kFar}) {
    const auto& map = *DAQChannelMap::getInstance(detector);
    for (int i = 0; i < 2'000'000; ++i) {
      const auto number = static_cast<std::uint32_t>(random());
      // What a conversion gives converts back to the number, so nothing outside the layout is taken for it.
      const auto logical = map.getLogicalChannel(number);
      if (logical != DAQChannelMap::kNoChannel) { ASSERT_EQ(map.getDAQChannel(logical), number); }
      const auto daq = map.getDAQChannel(number);
      if (daq != DAQChannelMap::kNoChannel) { ASSERT_EQ(map.getLogicalChannel(daq), number); }
      ASSERT_LT(map.getPixelOfTesterIndex(number), 32U);
    }
  }
}

/// Asks for a map when it is destroyed; made before the maps are, it outlives anything made with them.
struct AsksAtExit {
  ~AsksAtExit() {
    const auto* map = DAQChannelMap::getInstance(kFar);
    std::_Exit(map->getDAQChannel(map->encodeLChan(kFar, 895, 383)) == 0x238C3F1FU ? 42 : 1);
  }
};

TEST(DAQChannelMapDeathTest, IsStillThereWhileTheProcessExits) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        static const AsksAtExit atExit;
        DAQChannelMap::getInstance(kFar);
        std::exit(0);
      },
      testing::ExitedWithCode(42), "");
}

}  // namespace
