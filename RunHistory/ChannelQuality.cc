#include "RunHistory/ChannelQuality.h"

#include <iostream>

#include "RunHistory/RunHistory.h"
#include "database/PlainText.h"

namespace brio::dbi {

void RunHistory::SetChanInfo(geo::OfflineChan channel, float occupancy, float coincidence, long time) {
  chanInfoHistory[channel].Add(ChanInfo_t(occupancy, coincidence, time));
}

void RunHistory::SetIsBad(geo::OfflineChan channel, bool isBad, long time) {
  badChanHistory[channel].Add(BadChan_t(isBad, time));
}

float RunHistory::Occupancy(geo::OfflineChan channel, long time) {
  return chanInfoHistory[channel].AnswerBefore<OccupancyLine>(time);
}

float RunHistory::Coincidence(geo::OfflineChan channel, long time) {
  return chanInfoHistory[channel].AnswerBefore<CoincidenceLine>(time);
}

bool RunHistory::IsBad(geo::OfflineChan channel, long time) {
  return badChanHistory[channel].AnswerBefore<IsBadLine>(time);
}

void RunHistory::PrintChanInfo() {
  for (const auto& [channel, history] : chanInfoHistory) {
    for (const auto& record : history.Records()) {
      WriteLine(std::cout, channel.Plane(), ",", channel.Cell(), ",", record.occupancy);
    }
  }
}

}  // namespace brio::dbi
