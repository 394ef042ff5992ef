#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/StepObserver.h"

namespace brio::test {

/// A folder that disappears with the object. Its name is short enough for a Unix socket.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string name = "/tmp/brio-folder-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) { throw std::runtime_error("no temporary folder could be made"); }
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return path_; }
  /// Writes a file, with the folders that lead to it, and gives its path.
  std::string Write(const std::string& name, const std::string& text) const {
    const auto file = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file.string();
  }

private:
  std::string path_;
};

/// Changes the current folder until the object dies.
class CurrentFolder {
public:
  explicit CurrentFolder(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentFolder() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
  }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
  std::filesystem::path before_;
};

/// Records what the library is about to do with databases.
class RecordedSteps {
public:
  RecordedSteps() {
    dbi::SetStepObserver([this](dbi::DatabaseStep step, const std::string& text) {
      const std::lock_guard<std::mutex> lock(mutex_);
      steps_.push_back(step);
      if (step == dbi::DatabaseStep::Statement) { statements_.push_back(text); }
    });
  }
  ~RecordedSteps() { dbi::SetStepObserver({}); }
  RecordedSteps(const RecordedSteps&) = delete;
  RecordedSteps& operator=(const RecordedSteps&) = delete;

  const std::vector<dbi::DatabaseStep>& Steps() const { return steps_; }
  const std::vector<std::string>& Statements() const { return statements_; }

private:
  std::mutex mutex_;
  std::vector<dbi::DatabaseStep> steps_;
  std::vector<std::string> statements_;
};

}  // namespace brio::test
