#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "framework/Export.h"

namespace brio::dbi {

/// The answers about channels that are asked for most, board by board, found by two steps of arithmetic where
/// the run's records take three nested lists and a dozen tests.
///
/// It points into the records of the object that it belongs to; so a copy of it is empty, and it is emptied
/// whenever the records are. It holds positive answers only: where it has none, the records tell.
class BRIO_EXPORT BoardIndex {
public:
  struct Board {
    const std::int16_t* thresholds = nullptr;  ///< by pixel
    const float* gains = nullptr;              ///< by pixel; null without an answer
    std::uint32_t pixelsWithThreshold = 0;     ///< bit k for pixel k
    bool hasAPD = false;                       ///< if the diblock is good

    bool HasThreshold(unsigned int pixel) const { return ((pixelsWithThreshold >> pixel) & 1U) != 0; }
  };
  /// How many numbers there are of diblocks, DCMs and ports, counted from 0, and of a board's pixels.
  static constexpr unsigned int kNumbers = 64;
  static constexpr unsigned int kPixels = 32;

  /// A diblock and a DCM in one number.
  static constexpr unsigned int DCMNumber(unsigned int diblock, unsigned int dcm) {
    return kNumbers * diblock | dcm;
  }

  BoardIndex();
  ~BoardIndex() = default;
  BoardIndex(const BoardIndex& /*other*/) : BoardIndex() {}
  BoardIndex(BoardIndex&& other) noexcept : BoardIndex() { *this = std::move(other); }
  BoardIndex& operator=(const BoardIndex& other);
  BoardIndex& operator=(BoardIndex&& other) noexcept;

  /// Whether a board of these numbers could be here. Only such a one may be asked for.
  static constexpr bool HasRoomFor(unsigned int diblock, unsigned int dcm, unsigned int port) {
    return diblock < kNumbers && dcm < kNumbers && port < kNumbers;
  }
  /// A board; one without answers where there is none.
  const Board& At(unsigned int dcmNumber, unsigned int port) const { return dcms_[dcmNumber][port]; }

  /// The groups of facts that it was made of, as its maker numbers them; 0 when it is empty.
  unsigned int Facts() const { return facts_; }
  /// Makes it of DCMs, by their numbers, and the boards of each, kNumbers by port.
  void Make(unsigned int facts, const std::vector<unsigned int>& dcmNumbers, std::vector<Board> boards);
  void Clear();

  /// Empty, and to be left so until it is cleared: for records that are changed behind the run's back.
  void Disable();
  bool IsDisabled() const { return isDisabled_; }

private:
  const Board* const* dcms_;  ///< the boards of each DCM, by its number
  unsigned int facts_ = 0;
  bool isDisabled_ = false;
  std::vector<const Board*> ownDCMs_;
  std::vector<Board> ownBoards_;
};

}  // namespace brio::dbi
