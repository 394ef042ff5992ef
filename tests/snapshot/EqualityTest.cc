// A run that was saved answers as the server does, under every setting: values, standard output, standard
// error, messages and exceptions.
#include <filesystem>
#include <utility>

#include <gtest/gtest.h>

#include "snapshot/Saver.h"
#include "tests/snapshot/SavedFile.h"
#include "tests/snapshot/Transcript.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

class Equality : public testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(Equality, HoldsUnderEverySetting) {
  const auto [detector, run] = GetParam();
  const std::string server = server::Template("small");
  const SavedFile file({{detector, run}}, server);
  for (const auto& settings : AllSettings()) {
    SCOPED_TRACE(settings.name);
    const auto expected = [&, on = EnvironmentVariable("BRIO_DATABASE", server)] {
      return TranscriptOf(GetParam().first, GetParam().second, settings);
    }();
    const EnvironmentVariable database("BRIO_DATABASE", file.Database());
    EXPECT_EQ(FirstDifference(TranscriptOf(detector, run, settings), expected), "");
  }
}

std::vector<std::pair<const char*, int>> AllRuns() {
  std::vector<std::pair<const char*, int>> runs;
  for (int run = 13000; run <= 13040; ++run) {
    runs.emplace_back("Birch", run);
  }
  for (int run = 11000; run <= 11003; ++run) {
    runs.emplace_back("Alder", run);
  }
  runs.emplace_back("Cedar", 12000);
  // Not there, and simulated.
  for (const char* detector : {"Birch", "Alder", "Cedar"}) {
    runs.emplace_back(detector, 14999);
    runs.emplace_back(detector, 5);
  }
  return runs;
}

INSTANTIATE_TEST_SUITE_P(Runs, Equality, testing::ValuesIn(AllRuns()), [](const auto& run) {
  return std::string(run.param.first) + std::to_string(run.param.second);
});

TEST(EqualityOfRetries, HoldsForAConfigurationThatIsNotThere) {
  const std::string server = server::Template("small");
  const SavedFile file({{"Birch", 13015}}, server);
  const auto seen = [](const std::string& databases) {
    const EnvironmentVariable database("BRIO_DATABASE", databases);
    dbi::RunHistory run(13015, "Birch");
    run.SetMaxLoadRetries(1);
    return Seen([&run] { return std::string(run.LoadPixelInfo(0) ? "loaded" : "not loaded"); });
  };
  const std::string expected = seen(server);
  EXPECT_NE(expected.find("giving up"), std::string::npos) << expected;
  EXPECT_EQ(FirstDifference(seen(file.Database()), expected), "");
}

}  // namespace
}  // namespace brio::test
