#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "arrays/Layout.h"
#include "arrays/Loading.h"
#include "arrays/Status.h"
#include "framework/Export.h"

namespace brio::arrays {

/// What a run says of one board. A value without Status::Known shows what the question of RunHistory answers.
struct Board {
  BoardPlace place;
  /// Status::Known when the board's DCM took part in the run.
  Status presence = Status::RunNotLoaded;
  Value<bool> installed;
  /// By the DAQ configuration alone, whether or not anything is installed.
  Value<bool> enabled;
  Value<int> enabledPixels;        ///< of an enabled board: how many of its pixels are
  Value<double> threshold;         ///< mean of the enabled pixels, ADC counts
  Value<float> gain;               ///< mean of the pixels, nominally 100
  Value<float> measuredGain;       ///< the mean that was measured, also where 100 stands for it
  Value<int> voltage;              ///< volts
  Value<float> temperature;        ///< degrees Celsius
  Value<bool> temperatureControl;  ///< whether it is on
  Value<std::string> feb;          ///< serial of the board
  Value<std::string> apd;          ///< serial of its APD
};

/// All the places that a detector has for boards, with what a run says of each: element i is at
/// BoardsOf(detector)[i].
struct BRIO_EXPORT Boards {
  briodaq::cnv::DetId detector = briodaq::cnv::Unknown;
  std::string detectorName;
  int run = 0;
  bool isSimulated = false;
  /// How loading went: the reasons behind Status::…NotLoaded.
  LoadedParts parts;
  std::vector<Board> boards;

  /// Null for a place that the detector does not have.
  const Board* Find(unsigned int diblock, unsigned int dcm, unsigned int port) const;
  /// Why a value of this status is not known, as a sentence; empty for Status::Known.
  std::string Why(Status status) const;
};

/// Reads the boards off a run that was loaded (LoadRun) as deep as is wanted. What was not loaded has the
/// status that says so.
BRIO_EXPORT Boards MakeBoards(brio::dbi::RunHistory& history, const LoadedParts& parts);

/// The same of a single place of the run's detector.
BRIO_EXPORT Board MakeBoard(brio::dbi::RunHistory& history, const LoadedParts& parts,
                            const BoardPlace& place);

}  // namespace brio::arrays
