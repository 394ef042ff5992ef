// A thousand random questions in random order, to the server and to a snapshot in turn, in one process.
#include <random>

#include <gtest/gtest.h>

#include "tests/snapshot/SavedFile.h"
#include "tests/snapshot/Transcript.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

const std::vector<RunOfDetector>& Runs() {
  static const std::vector<RunOfDetector> runs{
      {"Birch", 13000}, {"Birch", 13002}, {"Birch", 13004}, {"Birch", 13005}, {"Birch", 13006},
      {"Birch", 13008}, {"Birch", 13011}, {"Birch", 13012}, {"Birch", 13014}, {"Birch", 13015},
      {"Birch", 13017}, {"Birch", 14999}, {"Birch", 5},     {"Alder", 11000}, {"Alder", 11002},
      {"Alder", 11003}, {"Alder", 14999}, {"Cedar", 12000}, {"Cedar", 5}};
  return runs;
}

/// One question, or a change of what is asked about and how, by its number.
std::string Ask(RunHistory& history, unsigned int question, unsigned int number) {
  const auto yesOrNo = [](bool yes) { return std::string(yes ? "true" : "false"); };
  const bool on = number % 2 == 0;
  const auto& channel = Channels()[number % Channels().size()];
  switch (question) {
    case 0: {
      const auto& [detector, run] = Runs()[number % Runs().size()];
      // Its start is not recorded, so it would be that of the run before, perhaps of another detector's.
      if (run == 13005) { return "left out"; }
      history.SetDetector(detector);
      history.SetRunNumber(run);
      return detector + std::to_string(run);
    }
    case 1: history.SetUseGoodDiBlockMask(on); return "";
    case 2: history.SetApplyAnalysisMask(on); return "";
    case 3: history.SetUseCustomMask(on); return "";
    case 4: history.SetCustomDiBlockMask(static_cast<int>(number)); return "";
    case 5: history.SetAbortIfNoMask(on); return "";
    case 6: history.SetAbortIfRunMissing(on); return "";
    case 7: history.SetAbortIfIncomplete(on); return "";
    case 8: history.InvalidateCaches(); return "";
    case 9: return yesOrNo(history.LoadPOT());
    case 10: return yesOrNo(history.LoadDAQRunHistory());
    case 11: return yesOrNo(history.LoadGoodDiBlockMask());
    case 12: return yesOrNo(history.LoadHardwareInfo());
    case 13: return yesOrNo(history.LoadPixelInfo(0));
    case 14: return yesOrNo(history.LoadAPDSettings());
    case 15: return yesOrNo(history.LoadAllDetInfo());
    case 16: return AskDataQuality(history);
    case 17: return AskRun(history);
    case 18: history.Dump(); return "";
    case 19: return std::to_string(history.GetDiBlock(static_cast<int>(number % 15), on).dcms.size());
    case 20: return yesOrNo(history.IsCooled(channel));
    case 21:
      history = RunHistory(Runs()[number % Runs().size()].second, Runs()[number % Runs().size()].first);
      return "";
    default: return AskChannel(history, channel);
  }
}

TEST(RandomQuestions, AreAnsweredAlike) {
  constexpr int kQuestions = 1000;
  constexpr unsigned int kKinds = 30;  // those behind the named ones are about channels
  const std::string server = server::Template("small");
  const SavedFile file(Runs(), server);
  std::mt19937 random(20140610);
  RunHistory onServer(13000, "Birch");
  RunHistory onFile(13000, "Birch");
  dbi::LocationMap serverLocations;
  dbi::LocationMap fileLocations;
  for (int i = 0; i < kQuestions; ++i) {
    const auto question = static_cast<unsigned int>(random()) % kKinds;
    const auto number = static_cast<unsigned int>(random());
    const auto ask = [&](const std::string& database, RunHistory& history, dbi::LocationMap& locations) {
      const EnvironmentVariable variable("BRIO_DATABASE", database);
      dbi::gLocToFA.swap(locations);
      const std::string seen = Seen([&] { return Ask(history, question, number); });
      dbi::gLocToFA.swap(locations);
      return seen;
    };
    const std::string expected = ask(server, onServer, serverLocations);
    ASSERT_EQ(FirstDifference(ask(file.Database(), onFile, fileLocations), expected), "")
        << "question " << i << " (" << question << ", " << number << ") about run " << onServer.GetRunNumber()
        << " of " << onServer.GetDetectorName();
  }
}

}  // namespace
}  // namespace brio::test
