#include "RunHistory/RunHistory.h"

namespace brio::dbi {
namespace {

// Stands in for a stop that was never recorded.
constexpr const char* kNoStop = "2000-01-01 00:00:00";

std::time_t Converted(const std::string& text) {
  long seconds = 0;
  return Util::TimeAsStringToTime_t(text, seconds) ? seconds : 0;
}

}  // namespace

std::time_t RunHistory::TStart() {
  LoadDAQRunHistory();
  return Converted(tStartText);
}

std::time_t RunHistory::TStop() {
  LoadDAQRunHistory();
  return Converted(tStopText.empty() ? kNoStop : tStopText);
}

std::string RunHistory::TStartAsString() {
  LoadDAQRunHistory();
  return tStartText;
}

std::string RunHistory::TStopAsString() {
  LoadDAQRunHistory();
  return tStopText;
}

std::time_t RunHistory::SubrunTStart(int subrun) {
  LoadDAQRunHistory();
  if (subrun < 0 || subrun > nSubruns) { return 0; }
  if (subrun == 0) { return TStart(); }
  const auto index = static_cast<std::size_t>(subrun);
  return index < subruns.size() ? subruns[index].tStart : 0;
}

std::time_t RunHistory::SubrunTStop(int subrun) {
  LoadDAQRunHistory();
  if (subrun < 0 || subrun > nSubruns) { return 0; }
  if (subrun == nSubruns - 1) { return TStop(); }
  const std::size_t next = static_cast<std::size_t>(subrun) + 1;
  return next < subruns.size() ? subruns[next].tStart : 0;
}

}  // namespace brio::dbi
