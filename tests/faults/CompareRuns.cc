#include "tests/faults/CompareRuns.h"

#include <sstream>

#include "tests/RunHistory/Peer.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using dbi::RunHistoryTestPeer;

/// Collects the first difference only.
class Difference {
public:
  template <class T>
  void Check(const std::string& where, const char* what, const T& got, const T& expected) {
    if (!text_.empty() || got == expected) { return; }
    std::ostringstream text;
    text << where << what << " is " << got << " instead of " << expected;
    text_ = text.str();
  }
  template <class T>
  void CheckList(const std::string& where, const char* what, const std::vector<T>& got,
                 const std::vector<T>& expected) {
    if (got == expected) { return; }
    Check(where, (std::string(what) + " count").c_str(), got.size(), expected.size());
    for (std::size_t i = 0; text_.empty() && i < got.size(); ++i) {
      Check(where, (std::string(what) + " " + std::to_string(i)).c_str(), got[i], expected[i]);
    }
  }
  bool Found() const { return !text_.empty(); }
  const std::string& Text() const { return text_; }

private:
  std::string text_;
};

void CompareBoards(Difference& difference, const std::string& where, const RunHistory::FEB& a,
                   const RunHistory::FEB& b) {
  difference.Check(where, "isInstalled", a.isInstalled, b.isInstalled);
  difference.Check(where, "block", a.block, b.block);
  difference.Check(where, "plane", a.plane, b.plane);
  difference.Check(where, "modulePosition", a.modulePosition, b.modulePosition);
  difference.Check(where, "nEnabledPixels", a.nEnabledPixels, b.nEnabledPixels);
  difference.Check(where, "pixelEnableMask", a.pixelEnableMask, b.pixelEnableMask);
  difference.CheckList(where, "threshold", a.thresholds, b.thresholds);
  difference.Check(where, "voltage", a.voltage, b.voltage);
  difference.Check(where, "isEnabled", a.isEnabled, b.isEnabled);
  difference.Check(where, "cooled", a.cooled, b.cooled);
  difference.Check(where, "temperatureEnabled", a.temperatureEnabled, b.temperatureEnabled);
  difference.Check(where, "temperature", a.temperature, b.temperature);
  difference.Check(where, "avgGain", a.avgGain, b.avgGain);
  difference.CheckList(where, "gain", a.pixelGains, b.pixelGains);
}

void CompareDCMs(Difference& difference, const std::string& where, const RunHistory::DCM& a,
                 const RunHistory::DCM& b) {
  difference.Check(where, "isActive", a.isActive, b.isActive);
  difference.Check(where, "diBlock", a.diBlock, b.diBlock);
  difference.Check(where, "number", a.number, b.number);
  difference.Check(where, "nInstrumentedFEBs", a.nInstrumentedFEBs, b.nInstrumentedFEBs);
  difference.Check(where, "appName", a.appName, b.appName);
  difference.Check(where, "febEnableMask", a.febEnableMask, b.febEnableMask);
  difference.Check(where, "boards", a.febs.size(), b.febs.size());
  for (std::size_t port = 0; !difference.Found() && port < a.febs.size(); ++port) {
    CompareBoards(difference, where + "port " + std::to_string(port) + " ", a.febs[port], b.febs[port]);
  }
}

void CompareFacts(Difference& difference, const RunHistory& a, const RunHistory& b) {
  difference.Check("", "run number", a.GetRunNumber(), b.GetRunNumber());
  difference.Check("", "detector", a.GetDetectorName(), b.GetDetectorName());
  difference.Check("", "configuration", a.GetConfigId(), b.GetConfigId());
  difference.Check("", "partition", a.GetPartition(), b.GetPartition());
  difference.Check("", "run type", a.GetRunType(), b.GetRunType());
  difference.Check("", "POT", a.GetTotalPOT(), b.GetTotalPOT());
  difference.Check("", "mask", a.GetGoodDiBlockMask(), b.GetGoodDiBlockMask());
  difference.Check("", "simulated", a.IsMC(), b.IsMC());
  difference.Check("", "subruns", a.NSubruns(), b.NSubruns());
  difference.Check("", "subrun records", a.GetSubruns().size(), b.GetSubruns().size());
  difference.Check("", "triggers", a.NTriggers(), b.NTriggers());
  difference.Check("", "active channels", a.NActiveChannels(), b.NActiveChannels());
  difference.Check("", "total channels", a.NTotalChannels(), b.NTotalChannels());
  difference.Check("", "enabled boards", a.NEnabledFEBs(), b.NEnabledFEBs());
  difference.Check("", "instrumented boards", a.NInstrumentedFEBs(), b.NInstrumentedFEBs());
  auto& changeableA = const_cast<RunHistory&>(a);
  auto& changeableB = const_cast<RunHistory&>(b);
  difference.Check("", "start", RunHistoryTestPeer::TStartText(changeableA),
                   RunHistoryTestPeer::TStartText(changeableB));
  difference.Check("", "stop", RunHistoryTestPeer::TStopText(changeableA),
                   RunHistoryTestPeer::TStopText(changeableB));
  difference.Check("", "DCMs", RunHistoryTestPeer::NDCMs(changeableA),
                   RunHistoryTestPeer::NDCMs(changeableB));
}

}  // namespace

std::string FirstDifference(const RunHistory& run, const RunHistory& expected, bool withEventBuilders) {
  Difference difference;
  CompareFacts(difference, run, expected);
  if (withEventBuilders) {
    const auto names = [](const RunHistory& of) {
      std::vector<std::string> list;
      for (const auto& builder : of.GetBNEVBs()) {
        list.push_back(builder.appName);
      }
      return list;
    };
    difference.CheckList("", "event builder", names(run), names(expected));
  }
  const auto& got = run.GetDiBlocks();
  const auto& wanted = expected.GetDiBlocks();
  difference.Check("", "diblocks", got.size(), wanted.size());
  for (std::size_t d = 0; !difference.Found() && d < got.size(); ++d) {
    const std::string where = "diblock " + std::to_string(wanted[d].number) + " ";
    difference.Check(where, "number", got[d].number, wanted[d].number);
    difference.Check(where, "isActive", got[d].isActive, wanted[d].isActive);
    difference.Check(where, "nInstrumentedFEBs", got[d].nInstrumentedFEBs, wanted[d].nInstrumentedFEBs);
    difference.Check(where, "DCMs", got[d].dcms.size(), wanted[d].dcms.size());
    for (std::size_t c = 0; !difference.Found() && c < got[d].dcms.size(); ++c) {
      CompareDCMs(difference, where + "DCM " + std::to_string(c + 1) + " ", got[d].dcms[c],
                  wanted[d].dcms[c]);
    }
  }
  return difference.Text();
}

std::string FirstDifference(const dbi::LocationMap& map, const dbi::LocationMap& expected) {
  Difference difference;
  difference.Check("", "locations", map.size(), expected.size());
  auto other = expected.begin();
  for (auto at = map.begin(); !difference.Found() && at != map.end(); ++at, ++other) {
    std::ostringstream where;
    where << other->first << " ";
    const auto& [feb, apd] = at->second;
    const auto& [febExpected, apdExpected] = other->second;
    if (at->first < other->first || other->first < at->first) {
      difference.Check(where.str(), "place", 0, 1);
      break;
    }
    difference.Check(where.str(), "board", feb.serial, febExpected.serial);
    difference.Check(where.str(), "slope", feb.hvFitSlope, febExpected.hvFitSlope);
    difference.Check(where.str(), "intercept", feb.hvFitIntercept, febExpected.hvFitIntercept);
    difference.Check(where.str(), "board date", feb.dateAdded, febExpected.dateAdded);
    difference.Check(where.str(), "APD", apd.serial, apdExpected.serial);
    difference.Check(where.str(), "voltage", apd.vr, apdExpected.vr);
    difference.Check(where.str(), "APD date", apd.dateAdded, apdExpected.dateAdded);
    difference.CheckList(where.str(), "gain", apd.pixelGains, apdExpected.pixelGains);
  }
  return difference.Text();
}

}  // namespace brio::test
