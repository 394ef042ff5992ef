#include "tests/faults/HostileQuestions.h"

#include <set>
#include <stdexcept>
#include <utility>

#include "framework/exception.h"
#include "tests/RunHistory/Peer.h"
#include "tests/faults/CompareRuns.h"
#include "tests/faults/FaultedLoads.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using dbi::RunHistoryTestPeer;

template <class Question>
std::string InWords(Question question) {
  try {
    return question() ? "true" : "false";
  } catch (const cet::exception& error) {
    return "throws " + error.category();
  } catch (const std::out_of_range&) { return "throws std::out_of_range"; }
}

/// Every set of the questions that leave a load with less than all and still true.
std::vector<std::set<Asked>> LossesOfALoad() {
  const std::vector<Asked> late{Asked::Settings, Asked::Gains, Asked::APDs, Asked::FEBs, Asked::Cables};
  std::vector<std::set<Asked>> losses;
  for (unsigned int bits = 0; bits < 1U << late.size(); ++bits) {
    std::set<Asked> lost;
    for (std::size_t i = 0; i < late.size(); ++i) {
      if ((bits >> i & 1U) != 0) { lost.insert(late[i]); }
    }
    losses.push_back(lost);
  }
  return losses;
}

class WholeLoadQuestions : public HostileQuestions {
public:
  using HostileQuestions::HostileQuestions;

  std::string Ask(RunHistory& run) const override {
    return InWords([&] { return run.LoadAllDetInfo(); });
  }

  bool IsComplete(const RunHistory& run, bool withEventBuilders) const override {
    return FirstDifference(run, Reference(), withEventBuilders).empty() &&
           FirstDifference(dbi::gLocToFA, Map()).empty();
  }

  std::string Wrong(const RunHistory& run, const std::string& outcome) const override {
    std::vector<std::set<Asked>> losses;
    if (outcome == "true") {
      losses = LossesOfALoad();
    } else if (outcome == "false") {
      losses = {{Asked::Hardware}, {Asked::EnableMasks}};
    } else if (outcome == "throws RunHistory::FailedLoadRuns") {
      losses = {{Asked::Runs}};
    } else if (outcome == "throws RunHistory::FailedLoadRsrcs") {
      losses = {{Asked::Resources}};
    } else {
      return "the load " + outcome;
    }
    if (RunHistoryTestPeer::LoadedFlags(run).apdSettings != (outcome == "true")) {
      return "the flag of the settings does not say what the load says";
    }
    std::string difference;
    for (const auto& lost : losses) {
      difference = FirstDifference(run, WithoutAnswersTo(Reference(), lost));
      if (difference.empty()) { difference = FirstDifference(dbi::gLocToFA, WithoutAnswersTo(Map(), lost)); }
      if (difference.empty()) { break; }
    }
    return difference;
  }
};

class QualityQuestions : public HostileQuestions {
public:
  using HostileQuestions::HostileQuestions;

  std::string Ask(RunHistory& run) const override {
    run.SetUseGoodDiBlockMask(true);
    const auto mask = InWords([&] { return run.LoadGoodDiBlockMask(); });
    const auto pot = InWords([&] { return run.LoadPOT(); });
    const auto records = InWords([&] { return !run.GetDQSubrunInfo().empty(); });
    return mask == pot && pot == records ? mask : "mask " + mask + ", POT " + pot + ", records " + records;
  }

  bool IsComplete(const RunHistory& run, bool /*withEventBuilders*/) const override {
    return run.GetTotalPOT() == Reference().GetTotalPOT() &&
           run.GetGoodDiBlockMask() == Reference().GetGoodDiBlockMask() && RecordsEqual(run);
  }

  std::string Wrong(const RunHistory& run, const std::string& outcome) const override {
    constexpr int kAllGoodWithoutMask = 0xFFFF;
    if (outcome.find("throws") != std::string::npos) { return "a load " + outcome; }
    const bool noRecords = RunHistoryTestPeer::CachedDQSubrunInfo(run).empty();
    if (!noRecords && !RecordsEqual(run)) { return "the subrun records are others"; }
    const int mask = run.GetGoodDiBlockMask();
    if (mask != Reference().GetGoodDiBlockMask() && mask != kAllGoodWithoutMask) {
      return "the mask is " + std::to_string(mask);
    }
    const float pot = run.GetTotalPOT();
    if (pot != Reference().GetTotalPOT() && pot != 0.0F) { return "the POT are " + std::to_string(pot); }
    const bool hasPOT = outcome == "true" || outcome.find("POT true") != std::string::npos;
    if (hasPOT != (pot != 0.0F)) { return "the POT are not what their load says"; }
    return {};
  }

private:
  bool RecordsEqual(const RunHistory& run) const {
    const auto& got = RunHistoryTestPeer::CachedDQSubrunInfo(run);
    const auto& expected = RunHistoryTestPeer::CachedDQSubrunInfo(Reference());
    bool equal = got.size() == expected.size();
    for (std::size_t i = 0; equal && i < got.size(); ++i) {
      equal = got[i].run == expected[i].run && got[i].subrun == expected[i].subrun &&
              got[i].flag == expected[i].flag && got[i].version == expected[i].version &&
              got[i].miprate == expected[i].miprate && got[i].ngooddb == expected[i].ngooddb &&
              got[i].numslc == expected[i].numslc && got[i].trkfrac == expected[i].trkfrac;
    }
    return equal;
  }
};

}  // namespace

HostileQuestions::HostileQuestions(std::string name, int run, std::string detector)
    : name_(std::move(name)), run_(run), detector_(std::move(detector)) {}

RunHistory HostileQuestions::Fresh() const { return {run_, detector_}; }

void HostileQuestions::Remember() {
  const CapturedOutput output;
  dbi::gLocToFA.clear();
  reference_ = std::make_unique<RunHistory>(Fresh());
  if (Ask(*reference_) != "true") { throw std::runtime_error("no answers without an attack"); }
  map_ = dbi::gLocToFA;
}

std::unique_ptr<HostileQuestions> WholeLoad(int run, const std::string& detector) {
  return std::make_unique<WholeLoadQuestions>("a whole load of " + detector, run, detector);
}

std::unique_ptr<HostileQuestions> QualityLoads(int run, const std::string& detector) {
  return std::make_unique<QualityQuestions>("mask, POT and subrun records", run, detector);
}

}  // namespace brio::test
