#include "experiment/embedded/NearDetectorMap.h"

#include "experiment/embedded/ChannelBits.h"

namespace daqchannelmap {
namespace {

constexpr unsigned int kModulesPerPlane = 3;
constexpr unsigned int kPlanesPerDiBlock = 64;
constexpr unsigned int kPlanesPerView = kPlanesPerDiBlock / 2;
constexpr unsigned int kTrackerDiBlocks = 3;
constexpr unsigned int kTrackerPlanes = kTrackerDiBlocks * kPlanesPerDiBlock;

constexpr unsigned int kCatcherDiBlock = 4;
constexpr unsigned int kCatcherPlanesPerView = 11;
constexpr unsigned int kCatcherPlanes = 2 * kCatcherPlanesPerView;
/// The first planes of the muon catcher's even view have three modules, all its other planes two.
constexpr unsigned int kCatcherFullPlanes = 9;
constexpr unsigned int kCatcherFullPorts = kCatcherFullPlanes * 3;

/// One front-end board where it is read out ...
struct Board {
  unsigned int diblock;
  unsigned int dcm;
  unsigned int port;
};
/// ... and the module that it reads out.
struct Module {
  unsigned int plane;
  unsigned int module;
};

constexpr Board kNoBoard{0, 0, 0};
constexpr Module kNoModule{kTrackerPlanes + kCatcherPlanes, 0};

Board TrackerBoard(const Module& where) {
  const unsigned int diblock = where.plane / kPlanesPerDiBlock + 1;
  const unsigned int inView = where.plane % kPlanesPerDiBlock / 2;
  if (where.plane % 2 == 0) {
    if (where.module == 0) { return {diblock, 1, inView}; }
    return {diblock, 2, kPlanesPerView * (where.module - 1) + inView};
  }
  if (where.module == 2) { return {diblock, 4, inView}; }
  return {diblock, 3, kPlanesPerView * where.module + inView};
}

Module TrackerModule(const Board& board) {
  const unsigned int even = kPlanesPerDiBlock * (board.diblock - 1) + 2 * (board.port % kPlanesPerView);
  const unsigned int half = board.port / kPlanesPerView;
  switch (board.dcm) {
    case 1: return half < 1 ? Module{even, 0} : kNoModule;
    case 2: return half < 2 ? Module{even, half + 1} : kNoModule;
    case 3: return half < 2 ? Module{even + 1, half} : kNoModule;
    case 4: return half < 1 ? Module{even + 1, 2} : kNoModule;
    default: return kNoModule;
  }
}

Board CatcherBoard(const Module& where) {
  const unsigned int inView = (where.plane - kTrackerPlanes) / 2;
  const bool even = where.plane % 2 == 0;
  if (even && inView < kCatcherFullPlanes) { return {kCatcherDiBlock, 1, 3 * inView + where.module}; }
  if (where.module >= 2) { return kNoBoard; }
  if (even) {
    return {kCatcherDiBlock, 1, kCatcherFullPorts + 2 * (inView - kCatcherFullPlanes) + where.module};
  }
  return {kCatcherDiBlock, 2, 2 * inView + where.module};
}

Module CatcherModule(const Board& board) {
  if (board.dcm == 1 && board.port < kCatcherFullPorts) {
    return {kTrackerPlanes + 2 * (board.port / 3), board.port % 3};
  }
  if (board.dcm != 1 && board.dcm != 2) { return kNoModule; }
  const unsigned int twoModulePort =
      board.dcm == 1 ? board.port - kCatcherFullPorts + 2 * kCatcherFullPlanes : board.port;
  const unsigned int inView = twoModulePort / 2;
  if (inView >= kCatcherPlanesPerView) { return kNoModule; }
  return {kTrackerPlanes + 2 * inView + (board.dcm - 1), twoModulePort % 2};
}

}  // namespace

DAQChannel NearDetectorMap::getDAQChannel(LogicalChannel channel) const {
  const Module where{getPlane(channel), getCell(channel) / kPixels};
  if (where.plane >= kNoModule.plane || where.module >= kModulesPerPlane) { return kNoChannel; }

  const Board board = where.plane < kTrackerPlanes ? TrackerBoard(where) : CatcherBoard(where);
  if (board.diblock == kNoBoard.diblock) { return kNoChannel; }
  return PackDAQChannel(getDetector(channel), board.diblock, board.dcm, board.port,
                        getCell(channel) % kPixels);
}

LogicalChannel NearDetectorMap::getLogicalChannel(DAQChannel channel) const {
  const Board board{getDiBlock(channel), getDCM(channel), getFEB(channel)};
  const unsigned int pixel = getPixel(channel);
  if (board.diblock < 1 || board.diblock > kCatcherDiBlock || pixel >= kPixels) { return kNoChannel; }

  const Module where = board.diblock == kCatcherDiBlock ? CatcherModule(board) : TrackerModule(board);
  if (where.plane == kNoModule.plane) { return kNoChannel; }
  return PackLogicalChannel(getDetector(channel), where.plane, kPixels * where.module + pixel);
}

unsigned int NearDetectorMap::getPixelOfTesterIndex(DAQChannel channel) const {
  return PixelOfTesterIndex(getPixel(channel));
}

}  // namespace daqchannelmap
