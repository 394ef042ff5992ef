#include "RunHistory/BoardIndex.h"

#include <utility>

namespace brio::dbi {
namespace {

constexpr unsigned int kDCMNumbers = BoardIndex::kNumbers * BoardIndex::kNumbers;

const BoardIndex::Board* NoBoards() {
  static const BoardIndex::Board boards[BoardIndex::kNumbers] = {};
  return boards;
}

const BoardIndex::Board* const* NoDCMs() {
  // Never deleted, for objects that outlive it otherwise.
  static const auto& dcms = *new std::vector<const BoardIndex::Board*>(kDCMNumbers, NoBoards());
  return dcms.data();
}

}  // namespace

BoardIndex::BoardIndex() : dcms_(NoDCMs()) {}

BoardIndex& BoardIndex::operator=(const BoardIndex& other) {
  if (this != &other) { Clear(); }
  return *this;
}

BoardIndex& BoardIndex::operator=(BoardIndex&& other) noexcept {
  if (this == &other) { return *this; }
  // A vector that is moved keeps its memory, so what points there stays right.
  dcms_ = std::exchange(other.dcms_, NoDCMs());
  facts_ = std::exchange(other.facts_, 0U);
  isDisabled_ = std::exchange(other.isDisabled_, false);
  ownDCMs_ = std::move(other.ownDCMs_);
  ownBoards_ = std::move(other.ownBoards_);
  return *this;
}

void BoardIndex::Make(unsigned int facts, const std::vector<unsigned int>& dcmNumbers,
                      std::vector<Board> boards) {
  ownDCMs_.assign(kDCMNumbers, NoBoards());
  ownBoards_ = std::move(boards);
  for (std::size_t i = 0; i < dcmNumbers.size(); ++i) {
    ownDCMs_[dcmNumbers[i]] = &ownBoards_[kNumbers * i];
  }
  dcms_ = ownDCMs_.data();
  facts_ = facts;
}

void BoardIndex::Clear() { *this = BoardIndex(); }

void BoardIndex::Disable() {
  Clear();
  isDisabled_ = true;
}

}  // namespace brio::dbi
