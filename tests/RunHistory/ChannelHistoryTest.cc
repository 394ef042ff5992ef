// ChannelHistory and the questions on it, against a scan from the front.
#include <limits>
#include <new>
#include <random>

#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"

namespace brio::dbi {
namespace {

constexpr long kEarliest = std::numeric_limits<long>::min();
constexpr long kLatest = std::numeric_limits<long>::max();

/// The record before the first one at or after a time; null without one.
template <class Record>
const Record* Scanned(const std::vector<Record>& records, long time) {
  std::size_t i = 0;
  while (i < records.size() && records[i].time < time) {
    ++i;
  }
  return i == 0 ? nullptr : &records[i - 1];
}

/// How the times of a history follow one another.
struct Shape {
  const char* name;
  /// The next time, from the one before and a random number from 0 to 19.
  long (*next)(long before, int random);
};

void PrintTo(const Shape& shape, std::ostream* stream) { *stream << shape.name; }

class AnyHistory : public testing::TestWithParam<Shape> {
protected:
  int Random() { return distribution_(engine_); }
  long Next(long before) { return GetParam().next(before, Random()); }

private:
  std::mt19937 engine_{12345};
  std::uniform_int_distribution<int> distribution_{0, 19};
};

TEST_P(AnyHistory, AnswersAsAScanFromTheFrontDoes) {
  for (int repetition = 0; repetition < 200; ++repetition) {
    ChannelHistory<ChanInfo_t> history;
    std::vector<ChanInfo_t> records;
    long last = 0;
    for (int step = 0; step < 40; ++step) {
      const int nToAdd = Random() % 4;
      for (int i = 0; i < nToAdd; ++i) {
        last = Next(last);
        // The occupancy says which record it is.
        const ChanInfo_t record(static_cast<float>(records.size()), 0.0F, last);
        history.Add(record);
        records.push_back(record);
      }
      const int nToAsk = Random() % 5;
      for (int i = 0; i < nToAsk; ++i) {
        const long time = last - 15 + 2 * Random();
        const ChanInfo_t* expected = Scanned(records, time);
        const ChanInfo_t* answer = history.Before(time);
        ASSERT_EQ(answer == nullptr, expected == nullptr) << "repetition " << repetition << ", step " << step;
        if (expected != nullptr) { ASSERT_EQ(answer->occupancy, expected->occupancy); }
      }
    }
    ASSERT_EQ(history.Records().size(), records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
      ASSERT_EQ(history.Records()[i].occupancy, records[i].occupancy) << "nothing is sorted";
    }
  }
}

TEST_P(AnyHistory, IsAskedThroughRunHistory) {
  RunHistory run;
  std::map<geo::OfflineChan, std::vector<ChanInfo_t>> info;
  std::map<geo::OfflineChan, std::vector<BadChan_t>> bad;
  std::map<geo::OfflineChan, long> last;
  for (int step = 0; step < 4000; ++step) {
    const geo::OfflineChan channel(static_cast<unsigned int>(Random() % 3),
                                   static_cast<unsigned int>(Random() % 2));
    if (Random() < 8) {
      const long time = last[channel] = Next(last[channel]);
      const ChanInfo_t record(static_cast<float>(step) / 4, static_cast<float>(-step) / 8, time);
      info[channel].push_back(record);
      run.SetChanInfo(channel, record.occupancy, record.coincidence, time);
      bad[channel].emplace_back(step % 2 == 0, time);
      run.SetIsBad(channel, step % 2 == 0, time);
    } else {
      const long time = last[channel] - 15 + 2 * Random();
      const ChanInfo_t* record = Scanned(info[channel], time);
      ASSERT_EQ(run.Occupancy(channel, time), record != nullptr ? record->occupancy : -6.0F) << step;
      ASSERT_EQ(run.Coincidence(channel, time), record != nullptr ? record->coincidence : 0.0F) << step;
      const BadChan_t* badRecord = Scanned(bad[channel], time);
      ASSERT_EQ(run.IsBad(channel, time), badRecord != nullptr && badRecord->isBad) << step;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Times, AnyHistory,
    testing::Values(Shape{"Ascending", [](long before, int random) { return before + 1 + random; }},
                    Shape{"WithEqualTimes", [](long before, int random) { return before + random / 15; }},
                    Shape{"AllEqual", [](long /*before*/, int /*random*/) { return 5L; }},
                    Shape{"Descending", [](long before, int random) { return before - random / 4; }},
                    Shape{"Random", [](long /*before*/, int random) { return 3L * random; }},
                    Shape{"MostlyAscending",
                          [](long before, int random) {
                            return random == 0 ? before - 30 : before + random / 8;
                          }}),
    [](const auto& tested) { return tested.param.name; });

TEST(ChannelHistory, HasNoRecordBeforeTheFirst) {
  ChannelHistory<BadChan_t> history;
  EXPECT_EQ(history.Before(0), nullptr);
  history.Add({true, 10});
  EXPECT_EQ(history.Before(10), nullptr);
  ASSERT_NE(history.Before(11), nullptr);
  EXPECT_TRUE(history.Before(11)->isBad);
}

/// A record that cannot always be copied, as when memory runs out.
struct StubbornRecord {
  StubbornRecord(long from, bool refuses) : time(from), refusesCopies(refuses) {}
  StubbornRecord(const StubbornRecord& other) : time(other.time), refusesCopies(other.refusesCopies) {
    if (refusesCopies) { throw std::bad_alloc(); }
  }
  StubbornRecord& operator=(const StubbornRecord&) = default;
  ~StubbornRecord() = default;
  long time;
  bool refusesCopies;
};

TEST(ChannelHistory, IsAsBeforeWhenARecordCannotBeStored) {
  ChannelHistory<StubbornRecord> history;
  history.Add({10, false});
  history.Add({5, false});
  EXPECT_THROW(history.Add({20, true}), std::bad_alloc);
  EXPECT_EQ(history.Records().size(), 2U);
  history.Add({3, false});
  history.Add({12, false});
  EXPECT_EQ(history.Before(5), nullptr) << "the first record is not before it";
  ASSERT_NE(history.Before(11), nullptr);
  EXPECT_EQ(history.Before(11)->time, 3);
}

TEST(ChannelHistory, KnowsTheEndsOfTime) {
  ChannelHistory<BadChan_t> history;
  history.Add({true, kEarliest});
  history.Add({false, kLatest});
  EXPECT_EQ(history.Before(kEarliest), nullptr);
  EXPECT_EQ(history.Before(kEarliest + 1)->time, kEarliest);
  EXPECT_EQ(history.Before(kLatest)->time, kEarliest);
}

/// How the times of a long history follow one another.
struct LongShape {
  const char* name;
  long first;
  /// The distance to the next time, from the number of the record and a random number from 0 to 19.
  long (*distance)(long record, long random);
};

void PrintTo(const LongShape& shape, std::ostream* stream) { *stream << shape.name; }

/// Histories of so many records that they are asked through an index.
class LongHistory : public testing::TestWithParam<LongShape> {
protected:
  /// Record i has occupancy i, coincidence -i / 2, and is bad by a pattern that no line repeats.
  void Add(std::size_t nRecords) {
    for (std::size_t i = 0; i < nRecords; ++i) {
      const auto number = static_cast<long>(records_.size());
      if (number == 0) {
        last_ = GetParam().first;
      } else {
        const long distance = GetParam().distance(number, Random());
        last_ = distance < kLatest - std::max(last_, 0L) ? last_ + distance : kLatest;
      }
      AddAt(last_);
    }
  }
  void AddAt(long time) {
    const auto number = static_cast<float>(records_.size());
    records_.emplace_back(number, -number / 2, time);
    info_.Add(records_.back());
    bad_.Add({IsBad(records_.size() - 1), time});
  }
  static bool IsBad(std::size_t record) { return record * record % 7 % 2 == 1; }

  void Ask(long time) { Ask(info_, bad_, time); }
  void Ask(ChannelHistory<ChanInfo_t>& info, ChannelHistory<BadChan_t>& bad, long time) {
    const ChanInfo_t* record = Scanned(records_, time);
    ASSERT_EQ(info.AnswerBefore<OccupancyLine>(time), record != nullptr ? record->occupancy : -6.0F) << time;
    ASSERT_EQ(info.AnswerBefore<CoincidenceLine>(time), record != nullptr ? record->coincidence : 0.0F)
        << time;
    const bool isBad = record != nullptr && IsBad(static_cast<std::size_t>(record - records_.data()));
    ASSERT_EQ(bad.AnswerBefore<IsBadLine>(time), isBad) << time;
  }
  /// At a record's time and beside it.
  void AskAround(std::size_t record) {
    const long time = records_[record].time;
    Ask(time);
    if (time > kEarliest) { Ask(time - 1); }
    if (time < kLatest) { Ask(time + 1); }
  }
  void AskAnywhere(int nQuestions) {
    std::uniform_int_distribution<std::size_t> anyRecord(0, records_.size() - 1);
    std::uniform_int_distribution<long> anyTime(records_.front().time, records_.back().time);
    for (int i = 0; i < nQuestions; ++i) {
      AskAround(anyRecord(engine_));
      Ask(anyTime(engine_));
    }
    AskAround(0);
    AskAround(records_.size() - 1);
    Ask(kEarliest);
    Ask(kLatest);
  }
  long Random() { return distribution_(engine_); }

  std::vector<ChanInfo_t> records_;
  ChannelHistory<ChanInfo_t> info_;
  ChannelHistory<BadChan_t> bad_;

private:
  long last_ = 0;
  std::mt19937 engine_{54321};
  std::uniform_int_distribution<long> distribution_{0, 19};
};

TEST_P(LongHistory, AnswersAsAScanDoesWhileItGrows) {
  Add(4080);
  for (int step = 0; step < 60; ++step) {
    Add(1);
    AskAround(records_.size() - 1);
    AskAround(records_.size() - 2);
    AskAnywhere(2);
  }
  for (int step = 0; step < 8; ++step) {
    Add(static_cast<std::size_t>(100 * Random() + 1));
    AskAnywhere(30);
  }
}

TEST_P(LongHistory, AnswersAtEachOfItsRecords) {
  Add(5003);
  for (std::size_t record = 0; record < records_.size(); record += 3) {
    AskAround(record);
  }
}

TEST_P(LongHistory, AnswersOnceItIsNoLongerInOrder) {
  Add(5000);
  AskAnywhere(20);
  AddAt(records_[2500].time > kEarliest ? records_[2500].time - 1 : 0);
  AskAnywhere(20);
  Add(3);
  AskAnywhere(20);
}

TEST_P(LongHistory, IsApartFromItsCopiesAndGoesWithAMove) {
  Add(5000);
  AskAnywhere(5);
  ChannelHistory<ChanInfo_t> info = info_;
  ChannelHistory<BadChan_t> bad = bad_;
  const long end = records_.back().time;
  info_.Add({-1.0F, -1.0F, end});
  bad_.Add({!IsBad(records_.size()), end});
  Ask(info, bad, end);
  Ask(info, bad, kLatest);
  // The other way round, and both have been asked about as many records.
  info_.AnswerBefore<OccupancyLine>(kLatest);
  info_.AnswerBefore<CoincidenceLine>(kLatest);
  bad_.AnswerBefore<IsBadLine>(kLatest);
  const auto number = static_cast<float>(records_.size());
  records_.emplace_back(number, -number / 2, end);
  info.Add(records_.back());
  bad.Add({IsBad(records_.size() - 1), end});
  Ask(info, bad, kLatest);
  info_ = info;
  bad_ = bad;
  Ask(kLatest);
  AskAnywhere(5);
  ChannelHistory<ChanInfo_t> movedInfo = std::move(info);
  ChannelHistory<BadChan_t> movedBad = std::move(bad);
  Ask(movedInfo, movedBad, end);
  Ask(movedInfo, movedBad, records_[17].time);
  info = ChannelHistory<ChanInfo_t>();
  EXPECT_EQ(info.AnswerBefore<OccupancyLine>(kLatest), -6.0F);
}

INSTANTIATE_TEST_SUITE_P(
    Times, LongHistory,
    testing::Values(
        LongShape{"Even", 10, [](long /*record*/, long /*random*/) { return 10L; }},
        LongShape{"Uneven", -20000, [](long /*record*/, long random) { return random * random; }},
        LongShape{"FasterAndFaster", 0, [](long record, long /*random*/) { return 5000000 / (record + 1); }},
        LongShape{"WithEqualTimes", 0, [](long /*record*/, long random) { return random / 19; }},
        LongShape{"AllEqual", 5, [](long /*record*/, long /*random*/) { return 0L; }},
        LongShape{"LastDistancesOfALine", 0,
                  [](long record, long random) { return record % 2 == 0 ? 0xFFFEFFF9L + random : 0L; }},
        LongShape{"Bursts", -(1L << 40),
                  [](long record, long random) { return record % 90 == 0 ? (1L << 33) : random / 4; }},
        LongShape{"FarApart", -(1L << 46), [](long /*record*/, long random) { return (random + 1) << 33; }},
        LongShape{"OverAllOfTime", kEarliest,
                  [](long record, long random) { return record % 100 == 0 ? (1L << 57) : random; }},
        LongShape{"TwoEndsOfTime", kEarliest,
                  [](long record, long /*random*/) {
                    return record == 4090 ? kLatest : (record == 4091 ? kLatest - 1000 : 1L);
                  }}),
    [](const auto& tested) { return tested.param.name; });

TEST(AnswerIndex, FollowsRecordsThatAreAdded) {
  std::vector<BadChan_t> records = {{true, 10}, {false, 20}, {true, 30}, {false, 40}};
  AnswerIndex<IsBadLine> index;
  EXPECT_FALSE(index.IsOf(records.size()));
  ASSERT_TRUE(index.Follow(records));
  EXPECT_TRUE(index.IsOf(records.size()));
  EXPECT_FALSE(index.Before(1000));
  records.emplace_back(true, 50);
  EXPECT_FALSE(index.IsOf(records.size()));
  ASSERT_TRUE(index.Follow(records));
  EXPECT_FALSE(index.Before(50));
  EXPECT_TRUE(index.Before(1000)) << "not from the line as it was";
}

TEST(AnswerIndex, IsGivenUpWhereItWouldNeedMoreMemoryThanTheRecords) {
  std::vector<BadChan_t> records;
  AnswerIndex<IsBadLine> index;
  for (long i = 0; i < 64; ++i) {
    records.emplace_back(true, i);
  }
  ASSERT_TRUE(index.Follow(records));
  for (long i = 0; i < 64; ++i) {
    records.emplace_back(true, (i + 1) << 32);
  }
  EXPECT_FALSE(index.Follow(records));
  records.emplace_back(true, records.back().time);
  EXPECT_FALSE(index.Follow(records));
  EXPECT_FALSE(index.IsOf(records.size()));
}

}  // namespace
}  // namespace brio::dbi
