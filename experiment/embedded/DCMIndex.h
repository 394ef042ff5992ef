#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dbutils {

/// Positions of a set of DCM names. Questions come port by port for one DCM after the other, so the last
/// answer is tried first; one thread at a time.
class DCMIndex {
public:
  explicit DCMIndex(std::vector<std::string> names);

  std::size_t Size() const { return names_.size(); }
  const std::string& Name(std::size_t position) const { return names_[position]; }
  std::optional<std::size_t> Find(std::string_view name) const {
    return last_ < names_.size() && names_[last_] == name ? last_ : Search(name);
  }

private:
  std::optional<std::size_t> Search(std::string_view name) const;

  std::vector<std::string> names_;
  mutable std::size_t last_ = 0;
};

/// Which DCMs of an index were found, and where the values of one of their ports stand in a flat list.
class FoundDCMs {
public:
  static constexpr int kPorts = 64;

  explicit FoundDCMs(std::vector<std::string> names)
      : index_(std::move(names)), found_(index_.Size(), false) {}

  const DCMIndex& Index() const { return index_; }
  void MarkFound(std::size_t position) { found_[position] = true; }
  bool IsFound(std::size_t position) const { return found_[position]; }
  /// The DCM's position if it was found.
  std::optional<std::size_t> Find(const std::string& name) const {
    const auto position = index_.Find(name);
    return position && found_[*position] ? position : std::nullopt;
  }
  /// The place of a port of a found DCM, counting 64 ports to a DCM.
  std::optional<std::size_t> FindPort(const std::string& name, int port) const {
    if (port < 0 || port >= kPorts) { return std::nullopt; }
    const auto position = Find(name);
    if (!position) { return std::nullopt; }
    return *position * kPorts + static_cast<std::size_t>(port);
  }
  /// True when all were found; else reports at error severity how many are missing and which is the first.
  bool AllFound(const char* category, long long configId, const char* what) const;

private:
  DCMIndex index_;
  std::vector<bool> found_;
};

}  // namespace dbutils
