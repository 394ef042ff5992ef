#include "tests/snapshot/SavedFile.h"

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "RunHistory/ProgressOutput.h"
#include "snapshot/Saver.h"
#include "tests/support/Server.h"

namespace brio::test {

ScratchFolder::ScratchFolder() : folder_(testing::TempDir() + "brio-snapshot-XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) { throw std::runtime_error("cannot make a folder"); }
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::vector<std::string> ScratchFolder::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

SavedFile::SavedFile(const std::vector<RunOfDetector>& runs, const std::string& database) {
  const EnvironmentVariable server("BRIO_DATABASE", database);
  std::ostream* const progress = dbi::GetProgressOutput();
  dbi::SetProgressOutput(nullptr);
  snapshot::Saver saver(Path());
  for (const auto& [detector, run] : runs) {
    const auto result = saver.Save(detector, run);
    EXPECT_NE(result.saved, snapshot::Saved::Refused) << detector << ' ' << run << ": " << result.reason;
  }
  saver.Commit();
  dbi::SetProgressOutput(progress);
}

}  // namespace brio::test
