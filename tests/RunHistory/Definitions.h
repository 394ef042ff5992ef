#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/Server.h"

namespace brio::test {

/// While it lives, definition files are looked for in a folder of its own, which is empty.
class OwnDefinitions {
public:
  OwnDefinitions() { std::filesystem::current_path(folder_); }
  ~OwnDefinitions() {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }
  OwnDefinitions(const OwnDefinitions&) = delete;
  OwnDefinitions& operator=(const OwnDefinitions&) = delete;

  /// Puts a file there, named as the library names it.
  void Write(const std::string& path, const std::string& text) const {
    std::filesystem::create_directories((folder_ / path).parent_path());
    std::ofstream(folder_ / path) << text;
  }

private:
  static std::filesystem::path MakeFolder() {
    const auto folder =
        std::filesystem::temp_directory_path() / ("brio-definitions-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    return folder;
  }
  std::filesystem::path before_ = std::filesystem::current_path();
  std::filesystem::path folder_ = MakeFolder();
  EnvironmentVariable searchPath_{"BRIO_SEARCH_PATH", folder_.string()};
};

}  // namespace brio::test
