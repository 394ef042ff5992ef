#include "experiment/embedded/DCMIndex.h"

#include <algorithm>

#include "framework/MessageLogger.h"

namespace dbutils {

DCMIndex::DCMIndex(std::vector<std::string> names) : names_(std::move(names)) {
  std::sort(names_.begin(), names_.end());
  names_.erase(std::unique(names_.begin(), names_.end()), names_.end());
}

std::optional<std::size_t> DCMIndex::Find(const std::string& name) const {
  if (last_ < names_.size() && names_[last_] == name) { return last_; }
  const auto found = std::lower_bound(names_.begin(), names_.end(), name);
  if (found == names_.end() || *found != name) { return std::nullopt; }
  last_ = static_cast<std::size_t>(found - names_.begin());
  return last_;
}

std::optional<std::size_t> FoundDCMs::Find(const std::string& name) const {
  const auto position = index_.Find(name);
  return position && found_[*position] ? position : std::nullopt;
}

std::optional<std::size_t> FoundDCMs::FindPort(const std::string& name, int port) const {
  if (port < 0 || port >= kPorts) { return std::nullopt; }
  const auto position = Find(name);
  if (!position) { return std::nullopt; }
  return *position * kPorts + static_cast<std::size_t>(port);
}

bool FoundDCMs::AllFound(const char* category, long long configId, const char* what) const {
  const auto nMissing = std::count(found_.begin(), found_.end(), false);
  if (nMissing == 0) { return true; }
  const auto first =
      static_cast<std::size_t>(std::find(found_.begin(), found_.end(), false) - found_.begin());
  brio::LogError(category) << "configuration " << configId << " has no " << what << " for " << nMissing
                           << " of " << found_.size() << " DCMs, the first: " << index_.Name(first);
  return false;
}

}  // namespace dbutils
