#pragma once

#include "experiment/DAQChannelMap.h"

namespace daqchannelmap {

/// Pixels of a front-end board, and cells of the module it reads out.
constexpr unsigned int kPixels = 32;

/// The bit fields of DAQChannelMap's decoders put together; the parts must fit into them.
constexpr DAQChannel PackDAQChannel(unsigned int detector, unsigned int diblock, unsigned int dcm,
                                    unsigned int feb, unsigned int pixel) {
  return detector << 28U | diblock << 22U | dcm << 16U | feb << 8U | pixel;
}
constexpr LogicalChannel PackLogicalChannel(unsigned int detector, unsigned int plane, unsigned int cell) {
  return detector << 28U | plane << 14U | cell;
}

/// From the APD test stand's pixel index (down the columns of eight) to the DAQ's (along the rows of four).
/// Only the five bits that number the pixels of one board count.
constexpr unsigned int PixelOfTesterIndex(unsigned int index) {
  return 4 * (index % 8) + index % kPixels / 8;
}

}  // namespace daqchannelmap
