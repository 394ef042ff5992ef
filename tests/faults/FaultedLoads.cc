#include "tests/faults/FaultedLoads.h"

#include <iomanip>
#include <iostream>
#include <optional>
#include <utility>

#include <gmock/gmock.h>

#include "RunHistory/FreshTry.h"
#include "database/ConnectionStatistics.h"
#include "framework/exception.h"
#include "tests/RunHistory/Peer.h"
#include "tests/faults/CompareRuns.h"
#include "tests/faults/Descriptors.h"
#include "tests/faults/FaultServer.h"
#include "tests/support/Output.h"
#include "tests/support/Quick.h"

namespace brio::test {

using dbi::DatabaseStep;
using dbi::RunHistory;
using dbi::RunHistoryTestPeer;

namespace {

constexpr const char* kNoHardwareConnection =
    "Failed to connect to hardware database! Failed to load hardware info.";

bool IsPull(Asked asked) {
  return asked == Asked::Gains || asked == Asked::APDs || asked == Asked::FEBs || asked == Asked::Cables;
}

bool LoadQuietly(RunHistory& run) {
  const CapturedOutput output;
  const CapturedMessages messages;
  return run.LoadAllDetInfo();
}

}  // namespace

/// How a load came to its end.
struct FaultedLoads::Ending {
  std::optional<bool> result;  // none when it threw
  std::string category;
  std::string message;
  std::string output;
  std::string error;
  std::vector<std::string> runHistoryErrors;
  std::vector<std::string> databaseErrors;
  bool databaseComplains = false;  // what is expected of the former
  RunHistoryTestPeer::Flags flags;
  bool made = false;
  long freshTries = 0;

  std::string InWords() const {
    if (!result) { return "throws " + category; }
    return *result ? "true" : "false";
  }
};

FaultedLoads::FaultedLoads(int run, std::string detector)
    : run_(run), detector_(std::move(detector)), reference_(run, detector_) {
  dbi::gLocToFA.clear();
  steps_ = StepsOf([&] { EXPECT_TRUE(LoadQuietly(reference_)); });
  map_ = dbi::gLocToFA;
}

void FaultedLoads::TryEveryStep(const Fault& fault) {
  std::cout << "\n" << fault.name << ", " << detector_ << " run " << run_ << "\n";
  // In the quick form every third step, others for each fault.
  const std::size_t stride = IsQuick() ? 3 : 1;
  for (std::size_t number = fault.name.size() % stride; number < steps_.size(); number += stride) {
    if (fault.applies && !fault.applies(steps_[number])) { continue; }
    SCOPED_TRACE(fault.name + " before step " + std::to_string(number + 1) + ", " +
                 Described(steps_[number]));
    TryStep(fault, number);
    if (testing::Test::HasFatalFailure()) { return; }
  }
}

void FaultedLoads::TryStep(const Fault& fault, std::size_t number) {
  const LoadStep& step = steps_[number];
  const auto descriptors = OpenDescriptors();
  dbi::gLocToFA = map_;
  RunHistory run(run_, detector_);
  if (fault.prepare) { fault.prepare(step); }
  const Ending ending = Load(run, fault, number);
  if (fault.remove) { fault.remove(); }
  auto failing = ending.made ? Failing(fault, number) : std::set<Asked>();
  auto expected = Expected(failing, step);
  // The connection that the gains are read from may have been made long before the one for the settings.
  const bool lostOne = step.kind == DatabaseStep::Begin || step.kind == DatabaseStep::Statement ||
                       (step.asked == Asked::Settings && fault.lasts);
  if (ending.made && fault.interrupts && lostOne) {
    // Everything is asked again, on connections of its own.
    failing = fault.lasts ? Failing(fault, 0) : std::set<Asked>();
    const auto first = std::exchange(expected, Expected(failing, steps_[0]));
    expected.output = first.output + expected.output;
    expected.error = first.error + expected.error;
    expected.runHistoryErrors.insert(expected.runHistoryErrors.begin(), first.runHistoryErrors.begin(),
                                     first.runHistoryErrors.end());
    expected.databaseComplains = true;
    expected.freshTries = 1;
  }
  CheckEnding(ending, expected);
  if (ending.made && step.kind != DatabaseStep::Commit) {
    EXPECT_EQ(ending.databaseErrors.empty(), !expected.databaseComplains)
        << "what went wrong is logged, and only that";
  }
  CheckContents(run, failing);
  CheckMap(failing);
  EXPECT_TRUE(faultserver::NoConnectionStays());
  EXPECT_TRUE(FallsToDescriptors(descriptors)) << "descriptors left open";
  CheckRecovery(run, failing);
  std::cout << "  " << std::setw(2) << number + 1 << "  " << std::left << std::setw(26) << Described(step)
            << std::right << (ending.made ? ending.InWords() : "prevented by the server, nothing fails")
            << (ending.freshTries > 0 ? " after a fresh try" : "")
            << (ending.result == true && !failing.empty() ? ", without " : "");
  for (const Asked asked : failing) {
    if (ending.result == true) { std::cout << "[" << NameOf(asked) << "] "; }
  }
  std::cout << "\n";
}

FaultedLoads::Ending FaultedLoads::Load(RunHistory& run, const Fault& fault, std::size_t number) {
  Ending ending;
  CapturedOutput output;
  const CapturedMessages messages;
  const long freshTries = dbi::FreshTries();
  {
    const BeforeStep before(number, [&] { ending.made = fault.make(steps_[number]); });
    try {
      ending.result = run.LoadAllDetInfo();
    } catch (const cet::exception& error) {
      ending.category = error.category();
      ending.message = error.message();
    }
  }
  ending.output = output.StandardOutput();
  ending.error = output.StandardError();
  for (const auto& text : messages.Texts(Severity::Error, "RunHistory")) {
    if (text.rfind("average gain for APD", 0) != 0) { ending.runHistoryErrors.push_back(text); }
  }
  ending.databaseErrors = messages.Texts(Severity::Error, "BrioDatabase");
  ending.flags = RunHistoryTestPeer::LoadedFlags(run);
  ending.freshTries = dbi::FreshTries() - freshTries;
  return ending;
}

std::set<Asked> FaultedLoads::Failing(const Fault& fault, std::size_t number) const {
  std::set<Asked> failing;
  if (fault.alsoFails) { failing = fault.alsoFails(steps_[number]); }
  for (std::size_t i = number; i < steps_.size(); ++i) {
    if (steps_[i].asked != Asked::Nothing) { failing.insert(steps_[i].asked); }
    if (!fault.lasts) { break; }
  }
  return failing;
}

/// How a load ends that is not tried again.
FaultedLoads::Ending FaultedLoads::Expected(const std::set<Asked>& failing, const LoadStep& step) const {
  Ending expected;
  const Asked end = EndsAt(failing);
  const bool afterHardware = end != Asked::Runs && end != Asked::Resources && end != Asked::Hardware;
  const bool complete = end == Asked::Nothing;
  switch (end) {
    case Asked::Runs:
      expected.category = "RunHistory::FailedLoadRuns";
      expected.message = "LoadDAQRunHistory: failed to load the runs table.\n";
      break;
    case Asked::Resources:
      expected.category = "RunHistory::FailedLoadRsrcs";
      expected.message = "LoadDAQRunHistory: failed to load the resources table.\n";
      break;
    case Asked::Hardware:
      for (const auto& other : steps_) {
        if (other.kind == DatabaseStep::Statement && other.asked == Asked::Hardware) {
          expected.error = "Query failed: " + other.text + "\n";
        }
      }
      if (step.kind == DatabaseStep::Connect) {
        expected.error =
            "RunHistory::LoadHardwareInfo(): Failed to connect to hardware database!  Failed to load "
            "hardware "
            "info.\n";
      }
      break;
    case Asked::EnableMasks:
    case Asked::Thresholds: expected.error = "RunHistory::LoadPixelInfo failed to get valid data\n"; break;
    default: break;
  }
  const bool throws = !expected.category.empty();
  if (!throws) {
    expected.result = complete;
    expected.output += "RunHistory: Loading FEB and APD installation information\n";
  }
  if (afterHardware) {
    expected.output +=
        "RunHistory: loading pixel enable masks\nRunHistory: loading pixel thresholds\ndone!\n";
  }
  if (complete && detector_ == "Birch") { expected.output += "Pull APD Info from DB\n"; }
  expected.flags = {};
  expected.flags.daq = !throws;
  expected.flags.hardware = afterHardware;
  expected.flags.pixel = complete;
  expected.flags.apdSettings = complete;
  expected.databaseComplains = !failing.empty();
  for (const auto& other : steps_) {
    if (complete && other.kind == DatabaseStep::Statement && IsPull(other.asked) &&
        failing.count(other.asked) != 0) {
      expected.runHistoryErrors.push_back("Query failed: " + other.text);
    }
  }
  return expected;
}

void FaultedLoads::CheckEnding(const Ending& ending, const Ending& expected) const {
  EXPECT_EQ(ending.result.has_value(), expected.result.has_value()) << ending.category << ending.message;
  EXPECT_EQ(ending.result.value_or(false), expected.result.value_or(false));
  EXPECT_EQ(ending.category, expected.category);
  EXPECT_EQ(ending.message, expected.message);
  EXPECT_EQ(ending.error, expected.error);
  EXPECT_EQ(ending.output, expected.output);
  EXPECT_TRUE(ending.flags == expected.flags);
  EXPECT_EQ(ending.freshTries, expected.freshTries);
  std::vector<testing::Matcher<std::string>> pullErrors;
  for (const auto& error : expected.runHistoryErrors) {
    pullErrors.push_back(testing::AnyOf(error, kNoHardwareConnection));
  }
  EXPECT_THAT(ending.runHistoryErrors, testing::ElementsAreArray(pullErrors));
}

void FaultedLoads::CheckContents(const RunHistory& run, const std::set<Asked>& failing) const {
  EXPECT_EQ(FirstDifference(run, WithoutAnswersTo(reference_, failing)), "") << "after the fault";
}

void FaultedLoads::CheckMap(const std::set<Asked>& failing) const {
  EXPECT_EQ(FirstDifference(dbi::gLocToFA, WithoutAnswersTo(map_, failing)), "") << "location map";
}

void FaultedLoads::CheckRecovery(RunHistory& run, const std::set<Asked>& failing) const {
  bool reloaded = false;
  if (EndsAt(failing) == Asked::Nothing) {
    const auto before = dbi::ConnectionStatistics::Now();
    EXPECT_TRUE(LoadQuietly(run));
    const auto after = dbi::ConnectionStatistics::Now();
    EXPECT_EQ(after.connectionAttempts, before.connectionAttempts)
        << "what counts as loaded is not asked for";
    if (failing.empty()) { return; }
    run.InvalidateCaches();
    reloaded = true;
  }
  EXPECT_TRUE(LoadQuietly(run)) << "once the fault is removed";
  EXPECT_EQ(FirstDifference(run, reference_, !reloaded), "") << "once the fault is removed";
  const std::size_t times = reloaded ? 2 : 1;
  EXPECT_EQ(run.GetBNEVBs().size(), times * reference_.GetBNEVBs().size());
  EXPECT_EQ(FirstDifference(dbi::gLocToFA, map_), "") << "location map once the fault is removed";
  EXPECT_TRUE(faultserver::NoConnectionStays());
}

}  // namespace brio::test
