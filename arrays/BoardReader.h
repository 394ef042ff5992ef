#pragma once

#include "RunHistory/HardwareRecords.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/SettingsFacts.h"
#include "arrays/Boards.h"

namespace brio::arrays {

/// Reads boards off a run's records, quickest when asked in the order of the readout. The run must stay as it
/// is meanwhile.
class BoardReader {
public:
  BoardReader(brio::dbi::RunHistory& history, const LoadedParts& parts);

  /// Goes to a place; what follows is about it.
  void MoveTo(const BoardPlace& place);
  Board Read();

  /// The board's record; null without one.
  const brio::dbi::RunHistory::FEB* Record() const { return record_; }
  /// The first reason why the board has no settings of its own; Known when it may have.
  Status Live() const { return live_; }
  /// Of the board's gains, whichever the pixel.
  Status GainStatus() const;
  /// The APD at the place in the location map, while that is the run's; else null.
  const brio::dbi::APDInfo* APD() const { return hardware_ == nullptr ? nullptr : &hardware_->second; }
  /// Which of the pixels whose gains the run uses were measured.
  std::uint32_t MeasuredPixels() const;
  /// Where the configuration counts: Known once it says whether the board is enabled.
  Status EnabledStatus() const;
  bool IsEnabled() const;

private:
  void MoveToDCM();
  Status FindLive() const;
  bool Has(std::uint64_t brio::dbi::DCMSettingsFacts::*mask) const;
  void ReadSettings(Board& board) const;
  void ReadGain(Board& board) const;
  void ReadSerials(Board& board) const;
  /// What it says when a value is missing that the settings should have.
  Status Missing(Status otherwise) const {
    return parts_.settings.IsClean() ? otherwise : Status::SettingsNotLoaded;
  }

  brio::dbi::RunHistory& history_;
  const LoadedParts& parts_;
  briodaq::cnv::DetId detector_;
  bool isMapMine_;
  brio::dbi::LocationMap::const_iterator next_;

  BoardPlace place_;
  Status presence_ = Status::RunNotLoaded;
  const brio::dbi::RunHistory::DCM* dcm_ = nullptr;
  const brio::dbi::DCMSettingsFacts* facts_ = nullptr;
  const brio::dbi::RunHistory::FEB* record_ = nullptr;
  const brio::dbi::LocationMap::mapped_type* hardware_ = nullptr;
  Status live_ = Status::RunNotLoaded;
};

}  // namespace brio::arrays
