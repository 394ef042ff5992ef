#include "tools/verbs/RunDifference.h"

#include <algorithm>
#include <array>
#include <map>

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;
using Location = std::array<unsigned int, 3>;
using Boards = std::map<Location, const RunHistory::FEB*>;

std::string Written(const Location& at) {
  return std::to_string(at[0]) + "/" + std::to_string(at[1]) + "/" + std::to_string(at[2]);
}

template <class Visit>
void ForEachActiveDCM(const RunHistory& history, const Visit& visit) {
  for (const auto& diblock : history.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { visit(diblock, dcm); }
    }
  }
}

std::vector<std::string> DCMsOf(const RunHistory& history) {
  std::vector<std::string> names;
  ForEachActiveDCM(history, [&](const RunHistory::DiBlock& diblock, const RunHistory::DCM& dcm) {
    names.push_back(std::to_string(diblock.number) + "/" + std::to_string(dcm.number));
  });
  return names;
}

std::vector<std::string> EventBuildersOf(const RunHistory& history) {
  std::vector<std::string> names;
  for (const auto& builder : history.GetBNEVBs()) {
    names.push_back(builder.appName);
  }
  return names;
}

/// Installed boards by location; for a simulated run every place has one.
Boards InstalledBoardsOf(const RunHistory& history) {
  Boards boards;
  ForEachActiveDCM(history, [&](const RunHistory::DiBlock& diblock, const RunHistory::DCM& dcm) {
    for (unsigned int port = 0; port < dcm.febs.size(); ++port) {
      const auto& feb = dcm.febs[port];
      if (feb.isInstalled || history.IsMC()) {
        boards.insert(boards.end(), {{diblock.number, dcm.number, port}, &feb});
      }
    }
  });
  return boards;
}

ChangedSet Compared(const std::vector<std::string>& before, const std::vector<std::string>& after) {
  const auto missingFrom = [](const std::vector<std::string>& all, const std::vector<std::string>& some) {
    std::vector<std::string> sorted(some);
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::string> missing;
    std::copy_if(all.begin(), all.end(), std::back_inserter(missing), [&](const std::string& name) {
      return !std::binary_search(sorted.begin(), sorted.end(), name);
    });
    return missing;
  };
  return {missingFrom(before, after), missingFrom(after, before)};
}

ChangedSet ComparedBoards(const Boards& before, const Boards& after) {
  ChangedSet changed;
  for (const auto& [at, feb] : before) {
    if (after.count(at) == 0) { changed.onlyBefore.push_back(Written(at)); }
  }
  for (const auto& [at, feb] : after) {
    if (before.count(at) == 0) { changed.onlyAfter.push_back(Written(at)); }
  }
  return changed;
}

void CompareThresholds(const Location& at, const RunHistory::FEB& before, const RunHistory::FEB& after,
                       RunDifference& difference) {
  const auto pixels = static_cast<std::uint32_t>(before.pixelEnableMask & after.pixelEnableMask);
  const auto count = std::min({before.thresholds.size(), after.thresholds.size(), std::size_t{32}});
  for (unsigned int pixel = 0; pixel < count; ++pixel) {
    if (((pixels >> pixel) & 1U) == 0) { continue; }
    ++difference.comparedThresholds;
    if (before.thresholds[pixel] != after.thresholds[pixel]) {
      difference.thresholds.push_back(
          {at[0], at[1], at[2], pixel, before.thresholds[pixel], after.thresholds[pixel]});
    }
  }
}

void CompareSettings(const Boards& before, const Boards& after, RunDifference& difference) {
  for (const auto& [at, feb] : before) {
    const auto found = after.find(at);
    if (found == after.end()) { continue; }
    const auto& other = *found->second;
    if (feb->isEnabled && other.isEnabled) {
      CompareThresholds(at, *feb, other, difference);
    } else if (feb->isEnabled) {
      difference.enabled.onlyBefore.push_back(Written(at));
    } else if (other.isEnabled) {
      difference.enabled.onlyAfter.push_back(Written(at));
    }
  }
}

}  // namespace

RunDifference Compare(RunHistory& before, RunHistory& after) {
  RunDifference difference;
  const auto fact = [&](const char* name, const std::string& a, const std::string& b) {
    if (a != b) { difference.facts.push_back({name, a, b}); }
  };
  const auto kind = [](const RunHistory& run) { return std::string(run.IsMC() ? "simulated" : "real"); };
  fact("kind", kind(before), kind(after));
  fact("type", before.GetRunType(), after.GetRunType());
  fact("partition", std::to_string(before.GetPartition()), std::to_string(after.GetPartition()));
  fact("configuration", std::to_string(before.GetConfigId()), std::to_string(after.GetConfigId()));
  fact("active channels", std::to_string(before.NActiveChannels()), std::to_string(after.NActiveChannels()));
  difference.dcms = Compared(DCMsOf(before), DCMsOf(after));
  difference.eventBuilders = Compared(EventBuildersOf(before), EventBuildersOf(after));
  const auto boardsBefore = InstalledBoardsOf(before);
  const auto boardsAfter = InstalledBoardsOf(after);
  difference.installed = ComparedBoards(boardsBefore, boardsAfter);
  CompareSettings(boardsBefore, boardsAfter, difference);
  return difference;
}

}  // namespace brio::tools
