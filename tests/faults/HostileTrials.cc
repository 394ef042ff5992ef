#include "tests/faults/HostileTrials.h"

#include "tests/faults/ProtocolMessages.h"

namespace brio::test::trials {
namespace {

using protocol::Message;

std::string Nothing(const std::string& /*message*/, bool /*first*/) { return {}; }
std::string FirstHalf(const std::string& message, bool first) {
  return first ? message.substr(0, message.size() / 2) : message;
}

std::string Notice() {
  using namespace std::string_literals;
  return Message('N', "SNOTICE\0VNOTICE\0C00000\0Mthe server has something to say\0\0"s);
}

std::string Setting() {
  using namespace std::string_literals;
  return Message('S', "application_name\0somebody else\0"s);
}

Trial Waiting(const char* name, Attack::Then then, std::string flood = {},
              std::chrono::milliseconds pause = {}) {
  Trial trial;
  trial.name = name;
  trial.attack.then = then;
  if (then != Attack::Then::Trickle) { trial.attack.forge = Nothing; }
  trial.attack.flood = std::move(flood);
  trial.attack.pause = pause;
  trial.waits = true;
  return trial;
}

constexpr std::chrono::milliseconds kNowAndThen{200};

}  // namespace

Trial CutBefore(int times) {
  Trial trial{times == 1 ? "cut once" : "cut", {}};
  trial.attack.forge = Nothing;
  trial.attack.then = Attack::Then::Cut;
  trial.attack.times = times;
  return trial;
}

Trial CutInside() {
  Trial trial{"cut in its middle", {}};
  trial.attack.forge = FirstHalf;
  trial.attack.then = Attack::Then::Cut;
  return trial;
}

Trial SilenceBefore() { return Waiting("silence", Attack::Then::FallSilent); }

Trial SilenceInside() {
  Trial trial = Waiting("silence in its middle", Attack::Then::FallSilent);
  trial.attack.forge = FirstHalf;
  return trial;
}

Trial QuickTrickle() {
  Trial trial = Waiting("byte by byte", Attack::Then::Trickle);
  trial.waits = false;
  trial.then = Then::NothingLost;
  return trial;
}

Trial SlowTrickle() { return Waiting("a byte now and then", Attack::Then::Trickle, {}, kNowAndThen); }

Trial NoticesWithoutEnd() { return Waiting("notices without end", Attack::Then::Flood, Notice()); }

Trial SettingsWithoutEnd() { return Waiting("settings without end", Attack::Then::Flood, Setting()); }

Trial NoticesNowAndThen() {
  return Waiting("a notice now and then", Attack::Then::Flood, Notice(), kNowAndThen);
}

}  // namespace brio::test::trials
