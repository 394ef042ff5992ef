// Every statement of a load, and every kind of message that it sees, from a server that cuts, falls silent,
// trickles, floods or lies. With BRIO_FAULTS_SECONDS each test tries all places of a load rather than a
// few, for about that long at the most.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/faults/HostileTrials.h"
#include "tests/support/Quick.h"
#include "tests/support/Server.h"

/// What libpq keeps of a message that contradicts the one before it is not looked for. That results handed to
/// the library are freed is pinned in tests/database/RowConsumerTest.cc.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:libpq.so\n";
}

namespace brio::test {
namespace {

enum class Asking { Birch, Alder, Quality };

void PrintTo(Asking asking, std::ostream* stream) { *stream << static_cast<int>(asking); }

std::unique_ptr<HostileQuestions> QuestionsOf(Asking asking) {
  if (asking == Asking::Quality) { return QualityLoads(13000, "Birch"); }
  return asking == Asking::Birch ? WholeLoad(13000, "Birch") : WholeLoad(11000, "Alder");
}

std::string MiniExperiment() {
  std::ifstream file(BRIO_FAULTS_FOLDER "/mini_experiment.sql");
  std::ostringstream text;
  text << file.rdbuf();
  // A mask that differs from what stands for all good, so that its loss shows.
  return text.str() + "UPDATE dataquality.gooddiblocksvsrun SET dbmask = 12287;";
}

bool IsWhileConnecting(const Place& place) { return place.step == "connecting"; }
/// On what comes at a load's end nothing depends any more.
bool IsAtTheEnd(const Place& place) { return place.step == "COMMIT"; }

class HostileTraffic : public testing::TestWithParam<Asking> {
protected:
  HostileTraffic() {
    scratch_.Execute(MiniExperiment());
    loads_ = std::make_unique<HostileLoads>(QuestionsOf(GetParam()), scratch_.Name());
    const char* seconds = std::getenv("BRIO_FAULTS_SECONDS");
    if (seconds != nullptr) { longForm_ = std::chrono::seconds(std::atol(seconds)); }
  }

  std::vector<Place> FromServer() const { return PlacesFrom(loads_->Places(), Direction::FromServer); }
  std::vector<Place> FromClient() const { return PlacesFrom(loads_->Places(), Direction::FromClient); }
  /// A client sends its Parse, Bind, Describe, Execute and Sync at once.
  std::vector<Place> WithoutTheMiddleOfARequest() const {
    std::vector<Place> places;
    for (const auto& place : loads_->Places()) {
      const bool inTheMiddle = place.message.direction == Direction::FromClient &&
                               std::string("BDE").find(place.message.type) != std::string::npos;
      if (!inTheMiddle || IsLong()) { places.push_back(place); }
    }
    return places;
  }
  /// All of them in the long form.
  std::vector<Place> Some(const std::vector<Place>& places) const {
    return IsLong() ? places : FewOf(places);
  }
  bool IsLong() const { return longForm_.count() > 0; }
  bool IsTimeUp() const { return IsLong() && std::chrono::steady_clock::now() - begin_ > longForm_; }

  void Try(Trial trial, const std::vector<Place>& places, bool mustLose = false) {
    for (const auto& place : places) {
      if (IsTimeUp()) { return; }
      if (mustLose) { trial.then = IsAtTheEnd(place) ? Then::Consistent : Then::SomethingLost; }
      loads_->Try(trial, place);
    }
  }

  /// Each forgery in a few of the answers that it fits, others for each, or in all.
  void Try(const std::vector<trials::Forgery>& forgeries, bool whileConnecting, std::size_t answers) {
    std::size_t turn = 0;
    // In the quick form the loads that are like Birch's see every third forgery.
    const std::size_t stride = IsQuick() && GetParam() != Asking::Birch ? 3 : 1;
    for (std::size_t number = 0; number < forgeries.size(); number += stride) {
      const auto& forgery = forgeries[number];
      std::vector<Place> fitting;
      for (const auto& place : FromServer()) {
        const bool fits = place.message.type == forgery.type && IsWhileConnecting(place) == whileConnecting;
        if (fits && !IsAtTheEnd(place) && place.step != "BEGIN") { fitting.push_back(place); }
      }
      ASSERT_FALSE(fitting.empty()) << forgery.trial.name;
      const std::size_t count = IsLong() ? fitting.size() : std::min(answers, fitting.size());
      for (std::size_t i = 0; i < count && !IsTimeUp(); ++i) {
        loads_->Try(forgery.trial, fitting[turn++ % fitting.size()]);
      }
    }
  }

  const ScratchDatabases scratch_{"empty"};
  std::unique_ptr<HostileLoads> loads_;
  std::chrono::seconds longForm_{0};
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// Where other loads differ too little to be worth the time.
class HostileTrafficOfBirch : public HostileTraffic {
protected:
  /// Messages of some types while connecting, in the BEGIN, and in an answer of many rows; all in the long
  /// form.
  std::vector<Place> Messages(const std::string& connecting, const std::string& begin,
                              const std::string& answer) const {
    std::vector<Place> places;
    for (const auto& place : FromServer()) {
      const std::string types = place.step == "connecting"    ? connecting
                                : place.step == "BEGIN"       ? begin
                                : place.step == "apd_pixel_m" ? answer
                                                              : "";
      if (IsLong() || types.find(place.message.type) != std::string::npos) { places.push_back(place); }
    }
    return places;
  }
};

TEST_P(HostileTraffic, CutBeforeAMessage) {
  const auto places = WithoutTheMiddleOfARequest();
  Try(trials::CutBefore(), GetParam() == Asking::Birch ? places : Some(places), true);
}

TEST_P(HostileTraffic, CutInsideAMessage) { Try(trials::CutInside(), Some(FromServer()), true); }

TEST_P(HostileTrafficOfBirch, CutOnceBeforeAMessage) {
  for (const auto& place : Some(WithoutTheMiddleOfARequest())) {
    auto trial = trials::CutBefore(1);
    trial.then = IsWhileConnecting(place) ? Then::Consistent : Then::NothingLost;
    Try(trial, {place});
  }
}

TEST_P(HostileTrafficOfBirch, SilenceOfTheServer) { Try(trials::SilenceBefore(), Some(FromServer()), true); }

TEST_P(HostileTrafficOfBirch, SilenceInsideAMessage) {
  Try(trials::SilenceInside(), Messages("RK", "S", "12TDCZ"), true);
}

TEST_P(HostileTrafficOfBirch, SilenceToTheClient) { Try(trials::SilenceBefore(), Some(FromClient()), true); }

TEST_P(HostileTraffic, ByteByByte) { Try(trials::QuickTrickle(), {FromServer().front()}); }

TEST_P(HostileTrafficOfBirch, AByteNowAndThen) { Try(trials::SlowTrickle(), Messages("S", "Z", "TC"), true); }

TEST_P(HostileTrafficOfBirch, NoticesWithoutEnd) {
  Try(trials::NoticesWithoutEnd(), Messages("S", "", "DCZ"), true);
}

TEST_P(HostileTrafficOfBirch, SettingsWithoutEnd) {
  Try(trials::SettingsWithoutEnd(), Messages("S", "", "DCZ"), true);
}

TEST_P(HostileTrafficOfBirch, NoticesNowAndThen) {
  Try(trials::NoticesNowAndThen(), Messages("Z", "Z", "T"), true);
}

TEST_P(HostileTraffic, OtherNumbersOfColumns) { Try(trials::ForgedColumns(), false, 100); }

TEST_P(HostileTraffic, BrokenAnswers) {
  Try(trials::ForgedAnswers(), false, GetParam() == Asking::Birch ? 2 : 1);
}

TEST_P(HostileTraffic, BrokenStarts) { Try(trials::ForgedStarts(), true, 1); }

TEST_P(HostileTraffic, OtherValues) { Try(trials::ForgedValues(), false, 4); }

const auto kName = [](const auto& asking) {
  return std::string(asking.param == Asking::Birch   ? "Birch"
                     : asking.param == Asking::Alder ? "Alder"
                                                     : "Quality");
};
INSTANTIATE_TEST_SUITE_P(Loads, HostileTraffic,
                         testing::Values(Asking::Birch, Asking::Alder, Asking::Quality), kName);
INSTANTIATE_TEST_SUITE_P(Loads, HostileTrafficOfBirch, testing::Values(Asking::Birch), kName);

}  // namespace
}  // namespace brio::test
