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
  const ChanInfo_t* record = chanInfoHistory[channel].Before(time);
  return record != nullptr ? record->occupancy : ChanInfo_t().occupancy;
}

float RunHistory::Coincidence(geo::OfflineChan channel, long time) {
  const ChanInfo_t* record = chanInfoHistory[channel].Before(time);
  return record != nullptr ? record->coincidence : ChanInfo_t().coincidence;
}

bool RunHistory::IsBad(geo::OfflineChan channel, long time) {
  const BadChan_t* record = badChanHistory[channel].Before(time);
  return record != nullptr && record->isBad;
}

void RunHistory::PrintChanInfo() {
  for (const auto& [channel, history] : chanInfoHistory) {
    for (const auto& record : history.Records()) {
      WriteLine(std::cout, channel.Plane(), ",", channel.Cell(), ",", record.occupancy);
    }
  }
}

}  // namespace brio::dbi
