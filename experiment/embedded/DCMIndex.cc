#include "experiment/embedded/DCMIndex.h"

#include <algorithm>

#include "framework/MessageLogger.h"

namespace dbutils {

DCMIndex::DCMIndex(std::vector<std::string> names) : names_(std::move(names)) {
  std::sort(names_.begin(), names_.end());
  names_.erase(std::unique(names_.begin(), names_.end()), names_.end());
}

std::optional<std::size_t> DCMIndex::Search(std::string_view name) const {
  const auto found = std::lower_bound(names_.begin(), names_.end(), name);
  if (found == names_.end() || *found != name) { return std::nullopt; }
  last_ = static_cast<std::size_t>(found - names_.begin());
  return last_;
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
