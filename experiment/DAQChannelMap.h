#pragma once

#include <cstdint>

#include "framework/Export.h"

namespace daqchannelmap {

/// A DAQ channel: detector, diblock, DCM, FEB (the DCM's port) and pixel, packed into 32 bits.
using DAQChannel = std::uint32_t;
/// A logical channel: detector, plane and cell, packed into 32 bits.
using LogicalChannel = std::uint32_t;

/// Packs and unpacks channel identifiers and converts between the two kinds for one detector.
///
/// Unpacking is a matter of bits: it takes any number and checks nothing. Encoders check every part and throw
/// std::out_of_range with the part's name, its value and its range. Instances are constant and live as long
/// as the process, so they may be used from any number of threads.
class BRIO_EXPORT DAQChannelMap {
public:
  /// Given by conversions for a channel that the detector does not have; every part of it decodes to 0, and
  /// no detector has a diblock 0. As a logical channel the number also stands for plane 0, cell 0 of detector
  /// 0, which is no real detector.
  static constexpr std::uint32_t kNoChannel = 0;

  /// The map of a detector; 1 is the near detector, 2 the far one. Every other number gives a map with the
  /// far detector's layout. Never null.
  static const DAQChannelMap* getInstance(int detector);

  virtual ~DAQChannelMap() = default;
  DAQChannelMap(const DAQChannelMap&) = delete;
  DAQChannelMap& operator=(const DAQChannelMap&) = delete;

  /// The DAQ channel that reads out a logical channel; kNoChannel when the detector has no such plane or
  /// cell. The detector number is carried over.
  virtual DAQChannel getDAQChannel(LogicalChannel channel) const = 0;
  /// The logical channel that a DAQ channel reads out; kNoChannel when nothing is read out there.
  virtual LogicalChannel getLogicalChannel(DAQChannel channel) const = 0;
  /// The DAQ pixel number (0..31) of the spot that the APD test stand numbers by the channel's pixel field:
  /// the stand counts column by column, eight rows to a column, the DAQ row by row. Only the field's lower
  /// five bits count.
  virtual unsigned int getPixelOfTesterIndex(DAQChannel channel) const = 0;

  /// Detector 0..15, diblock 1..63, DCM 1..63, FEB 0..63, pixel 0..31. \throws std::out_of_range
  DAQChannel encodeDChan(int detector, unsigned int diblock, unsigned int dcm, unsigned int feb,
                         unsigned int pixel) const;
  /// Detector 0..15, plane 0..16383, cell 0..16383. \throws std::out_of_range
  LogicalChannel encodeLChan(int detector, unsigned int plane, unsigned int cell) const;

  unsigned int getDetector(DAQChannel channel) const { return channel >> 28U; }
  unsigned int getDiBlock(DAQChannel channel) const { return (channel >> 22U) & 0x3FU; }
  unsigned int getDCM(DAQChannel channel) const { return (channel >> 16U) & 0x3FU; }
  unsigned int getFEB(DAQChannel channel) const { return (channel >> 8U) & 0xFFU; }
  unsigned int getPixel(DAQChannel channel) const { return channel & 0xFFU; }

  unsigned int getPlane(LogicalChannel channel) const { return (channel >> 14U) & 0x3FFFU; }
  unsigned int getCell(LogicalChannel channel) const { return channel & 0x3FFFU; }

protected:
  DAQChannelMap() = default;
};

}  // namespace daqchannelmap
