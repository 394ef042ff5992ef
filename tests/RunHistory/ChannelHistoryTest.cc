// ChannelHistory and the questions on it, against a scan from the front.
#include <new>
#include <random>

#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"

namespace brio::dbi {
namespace {

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
  constexpr long kEarliest = std::numeric_limits<long>::min();
  constexpr long kLatest = std::numeric_limits<long>::max();
  ChannelHistory<BadChan_t> history;
  history.Add({true, kEarliest});
  history.Add({false, kLatest});
  EXPECT_EQ(history.Before(kEarliest), nullptr);
  EXPECT_EQ(history.Before(kEarliest + 1)->time, kEarliest);
  EXPECT_EQ(history.Before(kLatest)->time, kEarliest);
}

}  // namespace
}  // namespace brio::dbi
