#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "arrays/Runs.h"
#include "tools/maps/BoardMap.h"
#include "tools/shared/ChannelAddress.h"

namespace brio::tools {

/// What a history follows: a channel, a board, the boards of a DCM, or all of the detector.
struct HistorySubject {
  enum class Kind { Channel, Board, DCM, Detector };
  Kind kind = Kind::Detector;
  /// Of a channel all of it, of a board without the pixel, of a DCM without the port.
  ChannelAddress address;

  /// Several boards, of which a history has the mean, or how many are installed or enabled.
  bool IsMany() const { return kind == Kind::DCM || kind == Kind::Detector; }
  /// "board 2/1/5".
  std::string Name() const;
};

/// Reads "2/1/5" (diblock, DCM, port) or "2/1" (diblock, DCM), which the detector must have. \return nothing,
/// with the reason in `why`, for any other text
std::optional<ChannelAddress> ParseBoard(const std::string& text, briodaq::cnv::DetId detector,
                                         std::string& why);
std::optional<ChannelAddress> ParseDCM(const std::string& text, briodaq::cnv::DetId detector,
                                       std::string& why);

/// What one run says.
struct HistoryPoint {
  int run = 0;
  std::string start;               ///< as the runs table has it; empty when it has none
  std::optional<double> value;     ///< to seven digits; 1 for yes and 0 for no
  std::string status;              ///< "known", or why there is no value
  std::optional<double> measured;  ///< a gain that was measured where the run uses another
  std::size_t boards = 0;          ///< how many the mean is of
  std::optional<double> change;    ///< from the value before, when it is marked
  bool couldBeLoaded = true;       ///< else the status is the reason
};

/// A quantity over runs.
struct History {
  QuantityInfo quantity{};
  HistorySubject subject;
  std::string detector;
  std::vector<HistoryPoint> points;

  /// "gain", or "boards enabled" where they are counted.
  std::string ValueName() const;
  /// "gain of board 2/1/5 of Birch"
  std::string Title() const;
  std::size_t Values() const;
  std::size_t Changes() const;
};

/// Asks a run record that was loaded as deep as the quantity needs. The run's number and start are not filled
/// in.
HistoryPoint PointOf(brio::dbi::RunHistory& history, const LoadedParts& parts, const QuantityInfo& quantity,
                     const HistorySubject& subject);

/// Marks values that differ from the one before by more than `least`.
void MarkChanges(std::vector<HistoryPoint>& points, double least);

}  // namespace brio::tools
