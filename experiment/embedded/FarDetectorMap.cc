#include "experiment/embedded/FarDetectorMap.h"

#include "experiment/embedded/ChannelBits.h"

namespace daqchannelmap {
namespace {

constexpr unsigned int kDiBlocks = 14;
constexpr unsigned int kPlanesPerDiBlock = 64;
constexpr unsigned int kPlanes = kDiBlocks * kPlanesPerDiBlock;
constexpr unsigned int kModulesPerPlane = 12;
constexpr unsigned int kCells = kModulesPerPlane * kPixels;
constexpr unsigned int kDCMs = 12;
constexpr unsigned int kDCMsPerView = kDCMs / 2;
constexpr unsigned int kPorts = 64;
/// Planes of one view in a diblock; a DCM has a port for each and for each of its two modules.
constexpr unsigned int kPlanesPerView = kPlanesPerDiBlock / 2;

}  // namespace

DAQChannel FarDetectorMap::getDAQChannel(LogicalChannel channel) const {
  const unsigned int plane = getPlane(channel);
  const unsigned int cell = getCell(channel);
  if (plane >= kPlanes || cell >= kCells) { return kNoChannel; }

  const unsigned int view = plane % 2;
  const unsigned int module = cell / kPixels;
  const unsigned int diblock = plane / kPlanesPerDiBlock + 1;
  const unsigned int dcm = kDCMsPerView * view + module / 2 + 1;
  const unsigned int port = kPlanesPerView * (module % 2) + plane % kPlanesPerDiBlock / 2;
  return PackDAQChannel(getDetector(channel), diblock, dcm, port, cell % kPixels);
}

LogicalChannel FarDetectorMap::getLogicalChannel(DAQChannel channel) const {
  // Counted from 0; what is 0 in the channel becomes the largest number and fails the test.
  const unsigned int diblock = getDiBlock(channel) - 1;
  const unsigned int dcm = getDCM(channel) - 1;
  const unsigned int port = getFEB(channel);
  const unsigned int pixel = getPixel(channel);
  if (diblock >= kDiBlocks || dcm >= kDCMs || port >= kPorts || pixel >= kPixels) { return kNoChannel; }

  const unsigned int view = dcm / kDCMsPerView;
  const unsigned int module = 2 * (dcm % kDCMsPerView) + port / kPlanesPerView;
  const unsigned int plane = kPlanesPerDiBlock * diblock + 2 * (port % kPlanesPerView) + view;
  return PackLogicalChannel(getDetector(channel), plane, kPixels * module + pixel);
}

unsigned int FarDetectorMap::getPixelOfTesterIndex(DAQChannel channel) const {
  return PixelOfTesterIndex(getPixel(channel));
}

}  // namespace daqchannelmap
