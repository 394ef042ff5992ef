#pragma once

#include <string>

namespace brio::dbi::snapshot {

/// A new file beside the one that it is to replace. It disappears with the object, unless it was put in that
/// one's place.
class TemporaryFile {
public:
  /// \throws SnapshotError when it cannot be made
  explicit TemporaryFile(std::string target);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& Path() const { return path_; }
  /// Becomes a copy of another file.
  void CopyFrom(const std::string& other) const;
  /// Brings what was written to the disk, and lets the file take the place of its target.
  void PutInPlace();

private:
  std::string target_;
  std::string path_;
  bool isInPlace_ = false;
};

}  // namespace brio::dbi::snapshot
