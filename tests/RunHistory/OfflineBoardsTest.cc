// The boards of offline channels, against the detector's channel map.
#include "RunHistory/OfflineBoards.h"

#include <thread>

#include <gtest/gtest.h>

#include "RunHistory/BoardIndex.h"
#include "experiment/DAQChannelMap.h"

namespace brio::dbi {
namespace {

using daqchannelmap::DAQChannelMap;

/// How many boards of a detector are known, of all that its first planes and cells could have.
int CheckAll(int detector) {
  const DAQChannelMap& map = *DAQChannelMap::getInstance(detector);
  const OfflineBoards& boards = OfflineBoards::Of(detector);
  int nBoards = 0;
  for (unsigned int plane = 0; plane < 1000; ++plane) {
    for (unsigned int cell = 0; cell < 500; ++cell) {
      const geo::OfflineChan channel(plane, cell);
      const auto board = boards.Of(channel);
      const auto daq = map.getDAQChannel(map.encodeLChan(detector, plane, cell));
      EXPECT_EQ(board.dcmNumber, BoardIndex::DCMNumber(map.getDiBlock(daq), map.getDCM(daq)));
      EXPECT_EQ(board.port, map.getFEB(daq));
      if (daq == DAQChannelMap::kNoChannel) { continue; }
      EXPECT_EQ(OfflineBoards::PixelOf(channel), map.getPixel(daq));
      if (map.getPixel(daq) == 0) { ++nBoards; }
    }
    if (testing::Test::HasFailure()) { return -1; }
  }
  return nBoards;
}

TEST(OfflineBoards, AreAllThoseOfTheFarDetector) { EXPECT_EQ(CheckAll(2), 14 * 12 * 64); }
TEST(OfflineBoards, AreAllThoseOfTheNearDetector) { EXPECT_EQ(CheckAll(1), 3 * 192 + 53); }
TEST(OfflineBoards, AreThoseOfTheFarDetectorForOtherDetectors) { EXPECT_EQ(CheckAll(5), 14 * 12 * 64); }

TEST(OfflineBoards, AreNotKnownForADetectorThatNoChannelCanName) {
  EXPECT_EQ(&OfflineBoards::Of(-1), &OfflineBoards::None());
  EXPECT_EQ(&OfflineBoards::Of(16), &OfflineBoards::None());
  EXPECT_EQ(OfflineBoards::None().Of(geo::OfflineChan(1, 1)).dcmNumber, 0);
}

TEST(OfflineBoards, AreCutTo16Bits) {
  const auto board = OfflineBoards::Of(2).Of(geo::OfflineChan(65536 + 66, 131072 + 17));
  EXPECT_EQ(board.dcmNumber, BoardIndex::DCMNumber(2, 1));
  EXPECT_EQ(board.port, 1);
}

TEST(OfflineBoards, AreMadeOnceWhoeverAsks) {
  std::vector<const OfflineBoards*> seen(8);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    threads.emplace_back([&seen, i] { seen[i] = &OfflineBoards::Of(7); });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  for (const auto* boards : seen) {
    EXPECT_EQ(boards, &OfflineBoards::Of(7));
  }
}

}  // namespace
}  // namespace brio::dbi
