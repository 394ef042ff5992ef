#include "database/SearchPath.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace brio::dbi {
namespace {

/// The share folder beside the file that this code was loaded from, so that an installed copy can be moved.
std::string InstalledShareFolder() {
  Dl_info self{};
  if (dladdr(reinterpret_cast<const void*>(&SearchFolders), &self) == 0 || self.dli_fname == nullptr) {
    return {};
  }
  std::error_code error;
  const auto library = std::filesystem::canonical(self.dli_fname, error);
  if (error) { return {}; }
  return (library.parent_path() / BRIO_SHARE_FROM_LIBRARY).lexically_normal().string();
}

}  // namespace

std::vector<std::string> SearchFolders() {
  std::vector<std::string> folders;
  if (const char* path = std::getenv("BRIO_SEARCH_PATH")) {
    std::istringstream parts(path);
    for (std::string part; std::getline(parts, part, ':');) {
      if (!part.empty()) { folders.push_back(part); }
    }
  }
  const std::string installed = InstalledShareFolder();
  if (!installed.empty()) { folders.push_back(installed); }
  folders.emplace_back(".");
  return folders;
}

}  // namespace brio::dbi
