#pragma once

#include <string>
#include <utility>
#include <vector>

namespace brio::test {

/// A folder of its own, removed with what is in it.
class ScratchFolder {
public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string Path(const std::string& name) const { return folder_ + '/' + name; }
  /// The names of the files in it, sorted.
  std::vector<std::string> Names() const;

private:
  std::string folder_;
};

using RunOfDetector = std::pair<std::string, int>;

/// A snapshot of some runs of a database. A run that cannot be saved fails the test.
class SavedFile {
public:
  SavedFile(const std::vector<RunOfDetector>& runs, const std::string& database);

  std::string Path() const { return folder_.Path("saved.brio"); }
  /// For BRIO_DATABASE.
  std::string Database() const { return "snapshot:" + Path(); }

private:
  ScratchFolder folder_;
};

}  // namespace brio::test
