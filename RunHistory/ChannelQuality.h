#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <tuple>
#include <vector>

#include "RunHistory/AnswerIndex.h"

namespace brio::dbi {

/// A channel's occupancy and coincidence rate from a time on. Units are the client's.
struct ChanInfo_t {
  float occupancy = -6.0F;
  float coincidence = 0.0F;
  long time = 0;
  ~ChanInfo_t() {}  // NOLINT(modernize-use-equals-default): part of the record's form
  ChanInfo_t() = default;
  ChanInfo_t(float occupancyValue, float coincidenceValue, long from)
      : occupancy(occupancyValue), coincidence(coincidenceValue), time(from) {}
  ChanInfo_t(const ChanInfo_t&) = default;
  ChanInfo_t& operator=(const ChanInfo_t&) = default;
};

/// Whether a channel was bad, from a time on.
struct BadChan_t {
  bool isBad = false;
  long time = 0;
  ~BadChan_t() {}  // NOLINT(modernize-use-equals-default): part of the record's form
  BadChan_t() = default;
  BadChan_t(bool bad, long from) : isBad(bad), time(from) {}
  BadChan_t(const BadChan_t&) = default;
  BadChan_t& operator=(const BadChan_t&) = default;
};

/// Sixteen answers whether a channel was bad, in one cache line; the last key's low bits are the answers.
class alignas(64) IsBadLine : public LineKeys<16> {
public:
  using Answer = bool;
  static constexpr std::size_t kRecords = 16;
  static bool None() { return false; }
  static bool AnswerOf(const BadChan_t& record) { return record.isBad; }

  IsBadLine() { keys_.back() = Key(kTooFar); }
  void SetAnswer(std::size_t record, bool isBad) { keys_.back() |= (isBad ? 1 : 0) << record; }
  bool AnswerOf(std::size_t record) const { return ((keys_.back() >> record) & 1) != 0; }
};

/// Eight occupancies, or coincidence rates, in one cache line.
template <float ChanInfo_t::*kMember>
class alignas(64) ChanInfoLine : public LineKeys<8> {
public:
  using Answer = float;
  static constexpr std::size_t kRecords = 8;
  static float None() { return ChanInfo_t().*kMember; }
  static float AnswerOf(const ChanInfo_t& record) { return record.*kMember; }

  void SetAnswer(std::size_t record, float answer) { answers_[record] = answer; }
  float AnswerOf(std::size_t record) const { return answers_[record]; }

private:
  std::array<float, kRecords> answers_{};
};
using OccupancyLine = ChanInfoLine<&ChanInfo_t::occupancy>;
using CoincidenceLine = ChanInfoLine<&ChanInfo_t::coincidence>;

/// The indexes that a kind of record can have.
template <class Record>
struct AnswerIndexesOf {
  using type = std::tuple<>;
};
template <>
struct AnswerIndexesOf<BadChan_t> {
  using type = std::tuple<AnswerIndex<IsBadLine>>;
};
template <>
struct AnswerIndexesOf<ChanInfo_t> {
  using type = std::tuple<AnswerIndex<OccupancyLine>, AnswerIndex<CoincidenceLine>>;
};

/// Made when it is needed. A copy is without, and makes its own.
template <class Value>
class MadeOnDemand {
public:
  MadeOnDemand() = default;
  ~MadeOnDemand() = default;
  MadeOnDemand(const MadeOnDemand& /*other*/) {}
  MadeOnDemand(MadeOnDemand&&) noexcept = default;
  MadeOnDemand& operator=(const MadeOnDemand& other) {
    if (this != &other) { value_.reset(); }
    return *this;
  }
  MadeOnDemand& operator=(MadeOnDemand&&) noexcept = default;

  Value* Get() { return value_.get(); }
  Value& Make() {
    if (!value_) { value_ = std::make_unique<Value>(); }
    return *value_;
  }
  void Drop() { value_.reset(); }

private:
  std::unique_ptr<Value> value_;
};

/// The records of one channel in the order in which they were added, usually that of time. Nothing is sorted,
/// merged or removed.
template <class Record>
class ChannelHistory {
public:
  void Add(const Record& record) {
    // First the record: an index must never be without its record, should storing one fail.
    records_.push_back(record);
    const std::size_t added = records_.size() - 1;
    const long time = records_[added].time;
    if (!risers_.empty()) {
      if (time > records_[risers_.back()].time) { risers_.push_back(added); }
    } else if (added > 0 && time < records_[added - 1].time) {
      FindRisers();
      indexes_.Drop();
    }
  }

  /// What a line of this kind tells of the record before a time, as the function below finds it; of many
  /// records in the order of time from an index, which is made at the first question.
  template <class Line>
  typename Line::Answer AnswerBefore(long time) {
    if (records_.size() >= kManyRecords && risers_.empty()) {
      auto* indexes = indexes_.Get();
      if ((indexes != nullptr && std::get<AnswerIndex<Line>>(*indexes).IsOf(records_.size())) ||
          FollowRecords<Line>()) {
        return std::get<AnswerIndex<Line>>(*indexes_.Get()).Before(time);
      }
    }
    const Record* record = Before(time);
    return record != nullptr ? Line::AnswerOf(*record) : Line::None();
  }

  /// The record before the first one whose time is at or after `time`, counted from the front, whatever
  /// stands behind that one; null when that one is the first, or there are no records. Takes logarithmic time
  /// in any order of records, nearly constant time where they are evenly spread, and constant time when the
  /// answer is the same as the last one.
  const Record* Before(long time) {
    const std::size_t stop = FirstNotBefore(time);
    lastStop_ = stop;
    return stop == 0 ? nullptr : &records_[stop - 1];
  }

  const std::vector<Record>& Records() const { return records_; }

private:
  /// With fewer, what a search reads stays in the processor's cache.
  static constexpr std::size_t kManyRecords = 4096;

  /// Brings an index up to date. False when there is none to be had.
  template <class Line>
  [[gnu::noinline]] bool FollowRecords() {
    try {
      return std::get<AnswerIndex<Line>>(indexes_.Make()).Follow(records_);
    } catch (const std::bad_alloc&) {
      // The records answer without it, only slower.
      indexes_.Drop();
      return false;
    }
  }

  bool IsBefore(std::size_t index, long time) const { return records_[index].time < time; }

  std::size_t FirstNotBefore(long time) const {
    if (!risers_.empty()) {
      // The first record at or after a time is later than all before it, so it is among the risers.
      const auto riser = std::partition_point(risers_.begin(), risers_.end(),
                                              [&](std::size_t index) { return IsBefore(index, time); });
      return riser == risers_.end() ? records_.size() : *riser;
    }
    const bool sameAsLast = (lastStop_ == 0 || IsBefore(lastStop_ - 1, time)) &&
                            (lastStop_ == records_.size() || !IsBefore(lastStop_, time));
    return sameAsLast ? lastStop_ : FirstInOrderNotBefore(time);
  }

  /// In records that are in time order: starts where the time would be if they were evenly spread, and from
  /// there takes steps that double.
  std::size_t FirstInOrderNotBefore(long time) const {
    if (records_.empty() || records_.back().time < time) { return records_.size(); }
    if (records_.front().time >= time) { return 0; }
    std::size_t before = 0;
    std::size_t notBefore = records_.size() - 1;
    const auto first = static_cast<double>(records_.front().time);
    const auto last = static_cast<double>(records_.back().time);
    // Times too close together for a double give no hint.
    const double fraction =
        last > first ? std::clamp((static_cast<double>(time) - first) / (last - first), 0.0, 1.0) : 0.0;
    const auto guess = static_cast<std::size_t>(fraction * static_cast<double>(notBefore));
    if (IsBefore(guess, time)) {
      before = guess;
      for (std::size_t step = 1; notBefore - before > step; step *= 2) {
        if (!IsBefore(before + step, time)) {
          notBefore = before + step;
          break;
        }
        before += step;
      }
    } else {
      notBefore = guess;
      for (std::size_t step = 1; notBefore - before > step; step *= 2) {
        if (IsBefore(notBefore - step, time)) {
          before = notBefore - step;
          break;
        }
        notBefore -= step;
      }
    }
    const auto record = std::partition_point(records_.begin() + static_cast<std::ptrdiff_t>(before) + 1,
                                             records_.begin() + static_cast<std::ptrdiff_t>(notBefore),
                                             [&](const Record& candidate) { return candidate.time < time; });
    return static_cast<std::size_t>(record - records_.begin());
  }

  void FindRisers() {
    for (std::size_t i = 0; i < records_.size(); ++i) {
      if (risers_.empty() || records_[i].time > records_[risers_.back()].time) { risers_.push_back(i); }
    }
  }

  std::vector<Record> records_;
  /// Empty while the records are in time order; then the indexes of those that are later than all before
  /// them.
  std::vector<std::size_t> risers_;
  std::size_t lastStop_ = 0;
  MadeOnDemand<typename AnswerIndexesOf<Record>::type> indexes_;
};

}  // namespace brio::dbi
