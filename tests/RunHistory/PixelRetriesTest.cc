// How LoadPixelInfo tries again.
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/Pause.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-03-05";

/// Takes the place of pauses while it lives, and remembers them.
class ObservedPauses {
public:
  explicit ObservedPauses(std::function<void()> during = {}) : during_(std::move(during)) {
    dbi::SetPause([this](unsigned int seconds) {
      seconds_.push_back(seconds);
      if (during_) { during_(); }
    });
  }
  ~ObservedPauses() { dbi::SetPause({}); }
  ObservedPauses(const ObservedPauses&) = delete;
  ObservedPauses& operator=(const ObservedPauses&) = delete;
  const std::vector<unsigned int>& Seconds() const { return seconds_; }

private:
  std::function<void()> during_;
  std::vector<unsigned int> seconds_;
};

std::string Repeated(const std::string& text, std::size_t times) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) {
    repeated += text;
  }
  return repeated;
}

class PixelRetries : public testing::Test {
protected:
  PixelRetries() {
    site.AddRun(kRun, 77, {kDCM});
    run.SetRunNumber(kRun);
    run.SetDetector(std::string("Birch"));
  }
  void LoadBefore() {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadHardwareInfo());
  }
  void Configure() { site.AddOrdinaryConfiguration(77, {kDCM}); }

  ConfiguredSite site;
  RunHistory run;
};

/// With a maximum: which try numbers are made, and whether it says that it gives up.
struct Attempts {
  int maximum;
  std::vector<int> tries;
  std::size_t nPauses;
  bool givesUp;
};

void PrintTo(const Attempts& attempts, std::ostream* stream) { *stream << attempts.maximum; }

class PixelRetriesOf : public PixelRetries, public testing::WithParamInterface<Attempts> {};

TEST_P(PixelRetriesOf, MakesEverySecondTryUpToTheMaximum) {
  const auto& [maximum, tries, nPauses, givesUp] = GetParam();
  LoadBefore();
  run.SetMaxLoadRetries(maximum);
  const CapturedMessages messages;
  const ObservedPauses pauses;
  std::vector<unsigned int> expected;
  srandom(20150801);
  for (std::size_t i = 0; i < nPauses; ++i) {
    const double fraction = static_cast<double>(random()) / 2147483647.0;
    expected.push_back(static_cast<unsigned int>(std::trunc(std::pow(2.0, tries[i]) * fraction + 1.0)));
  }
  srandom(20150801);
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  const auto nTries = tries.size();
  EXPECT_EQ(asked.Statements(), 2 * static_cast<long>(nTries)) << "masks and thresholds, afresh in every try";
  EXPECT_EQ(asked.Transactions(), static_cast<long>(nTries));
  EXPECT_EQ(asked.Opened(), static_cast<long>(nTries));
  EXPECT_EQ(pauses.Seconds(), expected);
  EXPECT_EQ(output.StandardOutput(), Repeated(kPixelLines, nTries));
  EXPECT_EQ(output.StandardError(), Repeated(kNoValidData, nTries) + (givesUp ? kGivingUp : ""));
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
}

INSTANTIATE_TEST_SUITE_P(Maximum, PixelRetriesOf,
                         testing::Values(Attempts{-1, {}, 0, true}, Attempts{0, {0}, 0, false},
                                         Attempts{1, {0}, 1, true}, Attempts{2, {0, 2}, 2, true},
                                         Attempts{3, {0, 2}, 2, true}, Attempts{4, {0, 2, 4}, 3, true},
                                         Attempts{9, {0, 2, 4, 6, 8}, 5, true}),
                         [](const auto& tested) {
                           const int maximum = tested.param.maximum;
                           return maximum < 0 ? "Minus" + std::to_string(-maximum) : std::to_string(maximum);
                         });

TEST_F(PixelRetries, PausesLieBetweenOneAndTwoToTheTryPlusOne) {
  LoadBefore();
  run.SetMaxLoadRetries(8);
  const CapturedMessages messages;
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    srandom(seed);
    const ObservedPauses pauses;
    const CapturedOutput output;
    ASSERT_FALSE(run.LoadPixelInfo(0));
    ASSERT_EQ(pauses.Seconds().size(), 5U);
    for (unsigned int i = 0; i < 5; ++i) {
      EXPECT_GE(pauses.Seconds()[i], 1U);
      EXPECT_LE(pauses.Seconds()[i], (1U << (2 * i)) + 1);
    }
  }
}

/// Makes random() begin with 0, of which no seed of the usual generator is known, while it lives.
class RandomFromZero {
public:
  // The smallest generator gives 1103515245 seed + 12345 in 31 bits.
  RandomFromZero() : before_(initstate(2088216195U, state_.data(), state_.size())) {}
  ~RandomFromZero() { setstate(before_); }
  RandomFromZero(const RandomFromZero&) = delete;
  RandomFromZero& operator=(const RandomFromZero&) = delete;

private:
  alignas(int) std::array<char, 8> state_{};
  char* before_;
};

TEST_F(PixelRetries, OfAHugeTryPauseForAsLongAsCanBeSaid) {
  LoadBefore();
  run.SetMaxLoadRetries(2000);
  const CapturedMessages messages;
  const ObservedPauses pauses;
  const CapturedOutput output;
  srandom(20150801);
  EXPECT_FALSE(run.LoadPixelInfo(2000));
  EXPECT_THAT(pauses.Seconds(), ElementsAre(std::numeric_limits<unsigned int>::max()));
}

TEST_F(PixelRetries, OfAHugeTryPauseForASecondWhenTheDrawIsZero) {
  {
    const RandomFromZero zero;
    ASSERT_EQ(random(), 0);
  }
  LoadBefore();
  run.SetMaxLoadRetries(2000);
  const CapturedMessages messages;
  const ObservedPauses pauses;
  const CapturedOutput output;
  const RandomFromZero zero;
  EXPECT_FALSE(run.LoadPixelInfo(2000));
  EXPECT_THAT(pauses.Seconds(), ElementsAre(1U));
}

TEST_F(PixelRetries, ATryBeyondTheMaximumOnlyGivesUp) {
  run.SetMaxLoadRetries(4);
  const ObservedPauses pauses;
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadPixelInfo(5));
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_THAT(pauses.Seconds(), IsEmpty());
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), kGivingUp);
}

TEST_F(PixelRetries, StartAtTheTryAskedFor) {
  LoadBefore();
  run.SetMaxLoadRetries(4);
  const CapturedMessages messages;
  const ObservedPauses pauses;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(3));
  EXPECT_EQ(pauses.Seconds().size(), 1U);
  EXPECT_EQ(output.StandardError(), std::string(kNoValidData) + kGivingUp);
}

TEST_F(PixelRetries, ANegativeMaximumGivesUpEvenWhenLoaded) {
  Configure();
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadPixelInfo(0));
  }
  run.SetMaxLoadRetries(-1);
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), kGivingUp);
  EXPECT_EQ(run.NEnabledFEBs(), 64) << "what is loaded stays";
}

TEST_F(PixelRetries, FindAConfigurationThatAppearsDuringThePause) {
  run.SetMaxLoadRetries(2);
  const CapturedMessages messages;
  const ObservedPauses pauses([this] { Configure(); });
  CapturedOutput output;
  EXPECT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(pauses.Seconds().size(), 1U);
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines + kPixelLines);
  EXPECT_EQ(output.StandardError(), kNoValidData);
  EXPECT_EQ(run.NEnabledFEBs(), 64);
  EXPECT_EQ(run.NTotalChannels(), 2048);
}

TEST_F(PixelRetries, ALastPauseBeforeGivingUpHelpsNoMore) {
  run.SetMaxLoadRetries(1);
  const CapturedMessages messages;
  const ObservedPauses pauses([this] { Configure(); });
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_EQ(output.StandardError(), std::string(kNoValidData) + kGivingUp);
  EXPECT_EQ(run.NEnabledFEBs(), 0);
}

TEST_F(PixelRetries, HoldNothingOpenDuringThePause) {
  run.SetMaxLoadRetries(2);
  const CapturedMessages messages;
  std::vector<int> open;
  const ObservedPauses pauses([&] { open.push_back(site.OpenConnections()); });
  const CapturedOutput output;
  EXPECT_FALSE(run.LoadAllDetInfo());
  EXPECT_THAT(open, ElementsAre(0, 0));
  EXPECT_EQ(site.OpenConnections(), 0);
}

TEST_F(PixelRetries, OfAWholeLoadGoOnAfterThePauseWithOneMoreConnection) {
  run.SetMaxLoadRetries(2);
  const CapturedMessages messages;
  const ObservedPauses pauses([this] { Configure(); });
  const CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(asked.Opened(), 2);
  EXPECT_EQ(asked.Transactions(), 2);
  EXPECT_EQ(site.OpenConnections(), 0);
}

TEST_F(PixelRetries, AreNotMadeForAMissingRun) {
  run.SetRunNumber(kRun + 1);
  run.SetMaxLoadRetries(4);
  const ObservedPauses pauses;
  const CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_THAT(pauses.Seconds(), IsEmpty());
}

}  // namespace
}  // namespace brio::test
