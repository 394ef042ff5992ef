// The sample snapshot that comes with the source answers as the sandbox does. When it no longer does, since
// the sandbox's rows or a statement of a loader changed, scripts/make-sample makes it anew.
#include <filesystem>

#include <gmock/gmock.h>

#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotPath.h"
#include "snapshot/Comparison.h"
#include "tests/snapshot/Transcript.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::snapshot::SnapshotFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAdvice = "; is it to be made anew with scripts/make-sample?";

class SampleSnapshot : public testing::Test {
protected:
  std::string path_ = dbi::snapshot::SnapshotPath("sample");
  std::shared_ptr<SnapshotFile> file_ = SnapshotFile::Open(path_);
};

TEST_F(SampleSnapshot, HoldsRunsOfThreeDetectorsAndIsSmall) {
  std::vector<std::string> runs;
  for (const auto& run : file_->Runs()) {
    runs.push_back(run.detector + ' ' + std::to_string(run.run));
    for (const auto& [kind, source] : run.sources) {
      EXPECT_EQ(source.host, "local");
    }
  }
  EXPECT_THAT(runs, ElementsAre("Alder 11000", "Birch 13000", "Birch 13001", "Birch 13004", "Cedar 12000"));
  EXPECT_LT(std::filesystem::file_size(path_), 900'000U);
  EXPECT_THAT(file_->VerifyAll(), IsEmpty());
}

TEST_F(SampleSnapshot, HoldsWhatTheSandboxHolds) {
  const EnvironmentVariable server("BRIO_DATABASE", server::Template("small"));
  for (const auto& run : file_->Runs()) {
    const CapturedOutput output;
    const CapturedMessages messages;
    const auto change = snapshot::ChangesOf(run, *file_);
    EXPECT_EQ(change.failure.value_or(""), "");
    EXPECT_THAT(change.facts, IsEmpty()) << run.detector << ' ' << run.run << kAdvice;
  }
}

TEST_F(SampleSnapshot, AnswersAsTheSandboxDoes) {
  for (const auto& run : file_->Runs()) {
    const auto transcript = [&run](const std::string& database) {
      const EnvironmentVariable variable("BRIO_DATABASE", database);
      return TranscriptOf(run.detector, run.run, AllSettings().front());
    };
    EXPECT_EQ(FirstDifference(transcript("snapshot:sample"), transcript(server::Template("small"))), "")
        << run.detector << ' ' << run.run << kAdvice;
  }
}

}  // namespace
}  // namespace brio::test
