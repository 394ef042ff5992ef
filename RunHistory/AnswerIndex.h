#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace brio::dbi {

/// How far the records of a line lie behind its first one, in 32 bits, and with that the place of a time
/// among them. The first record has no key: it is the line's own time. The last key is no record's and is
/// above all.
template <std::size_t kRecords>
class LineKeys {
public:
  /// The least distance that has no key.
  static constexpr std::uint64_t kTooFar = 0xFFFF0000U;

  LineKeys() { keys_.fill(std::numeric_limits<std::int32_t>::max()); }

  void Set(std::size_t record, std::uint64_t distance) { keys_[record - 1] = Key(distance); }
  /// The last record of the line that is nearer to the first one than a distance. Without branches: a wrongly
  /// predicted one would keep the processor from asking memory for the next question's line meanwhile.
  std::size_t LastNearerThan(std::uint64_t distance) const {
    const std::int32_t limit = Key(std::min(distance, kTooFar));
    std::int32_t count = 0;
    for (const std::int32_t key : keys_) {
      count += key < limit ? 1 : 0;
    }
    return static_cast<std::size_t>(count);
  }

protected:
  /// Signed, since that is what processors compare several at a time.
  static std::int32_t Key(std::uint64_t distance) {
    return static_cast<std::int32_t>(static_cast<std::int64_t>(distance) - (std::int64_t{1} << 31));
  }
  std::array<std::int32_t, kRecords> keys_;
};

/// The answers to one question from a long list of records in the order of time, a cache line for some
/// records that follow one another. `Line` says what the answer is and how many fit.
///
/// It is made of a list at the first question and follows it when records are added to its end. It holds no
/// reference to the list.
template <class Line>
class AnswerIndex {
public:
  /// Whether it has the answers for that many records.
  bool IsOf(std::size_t nRecords) const { return nRecords_ == nRecords; }

  /// Takes in the records that were added at the end. False when they lie so far apart that the index would
  /// need more memory than the records do; it is then empty and remains so.
  template <class Record>
  bool Follow(const std::vector<Record>& records) {
    if (isGivenUp_) { return false; }
    lastWidth_ = 0;
    if (nRecords_ == 0) { Reserve(records.size() / Line::kRecords + 1); }
    for (; nRecords_ < records.size(); ++nRecords_) {
      Append(records[nRecords_]);
    }
    if (lines_.size() * sizeof(Line) > records.size() * sizeof(Record)) {
      *this = AnswerIndex();
      isGivenUp_ = true;
      return false;
    }
    if (times_.size() > nCovered_ + nCovered_ / 4) { MakeGuide(); }
    return true;
  }

  /// The answer of the last record before a time.
  typename Line::Answer Before(long time) {
    if (Distance(lastTime_, time) - 1 >= lastWidth_) {
      if (time <= times_.front()) { return Line::None(); }
      const std::size_t line = LineBefore(time);
      const long end = line + 1 < times_.size() ? times_[line + 1] : std::numeric_limits<long>::max();
      lastLine_ = line;
      lastTime_ = times_[line];
      lastWidth_ = Distance(lastTime_, end);
    }
    const Line& line = lines_[lastLine_];
    return line.AnswerOf(line.LastNearerThan(Distance(lastTime_, time)));
  }

private:
  /// From one time to a later one; there is no overflow.
  static std::uint64_t Distance(long from, long to) {
    return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
  }

  void Reserve(std::size_t nLines) {
    lines_.reserve(nLines);
    times_.reserve(nLines);
  }

  template <class Record>
  void Append(const Record& record) {
    if (lines_.empty() || nInLastLine_ == Line::kRecords ||
        Distance(times_.back(), record.time) >= Line::kTooFar) {
      lines_.emplace_back();
      times_.push_back(record.time);
      nInLastLine_ = 0;
    } else {
      lines_.back().Set(nInLastLine_, Distance(times_.back(), record.time));
    }
    lines_.back().SetAnswer(nInLastLine_, Line::AnswerOf(record));
    ++nInLastLine_;
  }

  /// Divides the time from the first line to the last into equal spans, a few lines to each if they were
  /// evenly spread.
  void MakeGuide() {
    nCovered_ = times_.size();
    const std::uint64_t whole = Distance(times_.front(), times_.back());
    for (spanBits_ = 0; whole >> spanBits_ > nCovered_ / 4; ++spanBits_) {}
    fractionBits_ = std::min(spanBits_, 16U);
    const std::size_t nSpans = static_cast<std::size_t>(whole >> spanBits_) + 1;
    guide_.assign(nSpans + 1, 0);
    std::size_t line = 0;
    for (std::size_t span = 0; span <= nSpans; ++span) {
      while (line < nCovered_ && Distance(times_.front(), times_[line]) >> spanBits_ < span) {
        ++line;
      }
      guide_[span] = static_cast<std::uint32_t>(line == 0 ? 0 : line - 1);
    }
  }

  /// The last line that begins before a time. The first one must.
  std::size_t LineBefore(long time) const {
    if (times_.back() < time) { return times_.size() - 1; }
    if (times_[nCovered_ - 1] < time) { return LineBefore(time, nCovered_ - 1, times_.size() - 1); }
    const std::uint64_t distance = Distance(times_.front(), time);
    const auto span = static_cast<std::size_t>(distance >> spanBits_);
    const std::size_t from = guide_[span];
    const std::size_t to = guide_[span + 1];
    const std::uint64_t fraction =
        (distance >> (spanBits_ - fractionBits_)) & ((std::uint64_t{1} << fractionBits_) - 1);
    std::size_t line = from + static_cast<std::size_t>(((to - from) * fraction) >> fractionBits_);
    // Often right, else mostly one beside, which no branch could foretell.
    line += times_[line + 1] < time ? 1U : 0U;
    line -= times_[line] >= time ? 1U : 0U;
    const bool isIt = times_[line] < time && times_[line + 1] >= time;
    return isIt ? line : LineBefore(time, from, to);
  }
  std::size_t LineBefore(long time, std::size_t from, std::size_t to) const {
    const auto begin = times_.begin();
    const auto later = std::lower_bound(begin + static_cast<std::ptrdiff_t>(from) + 1,
                                        begin + static_cast<std::ptrdiff_t>(to) + 1, time);
    return static_cast<std::size_t>(later - begin) - 1;
  }

  std::vector<Line> lines_;
  std::vector<long> times_;  ///< of each line's first record
  std::size_t nRecords_ = 0;
  std::size_t nInLastLine_ = 0;
  bool isGivenUp_ = false;

  /// The lines that were there when the guide was made; and for each span of time the line in which it
  /// begins.
  std::size_t nCovered_ = 0;
  std::vector<std::uint32_t> guide_;
  unsigned int spanBits_ = 0;
  unsigned int fractionBits_ = 0;

  /// The line that was asked last: it answers for times after its own, up to a distance.
  std::size_t lastLine_ = 0;
  long lastTime_ = 0;
  std::uint64_t lastWidth_ = 0;
};

}  // namespace brio::dbi
