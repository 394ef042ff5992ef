#include "database/snapshot/TemporaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>
#include <vector>

#include "database/StandardDescriptors.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {
namespace {

[[noreturn]] void Fail(const std::string& what) { throw SnapshotError(what + ": " + std::strerror(errno)); }

class Descriptor {
public:
  Descriptor(const std::string& path, int flags) : number_(Opened(path, flags)) {
    if (number_ < 0) { Fail(path); }
  }
  ~Descriptor() { close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }

private:
  static int Opened(const std::string& path, int flags) {
    const StandardDescriptorsTaken taken;
    return open(path.c_str(), flags | O_CLOEXEC);
  }

  int number_;
};

void Sync(const std::string& path) {
  const Descriptor file(path, O_RDONLY);
  // Some file systems have nothing to do for a folder, and say so.
  if (fsync(file.Number()) != 0 && errno != EINVAL) { Fail(path); }
}

std::string FolderOf(const std::string& path) {
  const auto folder = std::filesystem::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

/// A link stays one: what it leads to is replaced.
std::string Resolved(const std::string& path) {
  std::error_code error;
  const auto resolved = std::filesystem::weakly_canonical(path, error);
  return error ? path : resolved.string();
}

void WriteAll(int descriptor, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = write(descriptor, bytes, count);
    if (written < 0 && errno == EINTR) { continue; }
    if (written < 0) { Fail("copying"); }
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
}

}  // namespace

TemporaryFile::TemporaryFile(std::string target) : target_(Resolved(target)) {
  const auto name = std::filesystem::path(target_).filename().string();
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (name.empty() || (exists && !S_ISREG(status.st_mode))) { throw SnapshotError("it is no regular file"); }
  const StandardDescriptorsTaken taken;
  int descriptor = -1;
  std::random_device random;
  do {
    path_ =
        (std::filesystem::path(FolderOf(target_)) / ('.' + name + '.' + std::to_string(random()))).string();
    descriptor = open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EEXIST);
  if (descriptor < 0) { Fail(FolderOf(target_)); }
  // Whoever could read the forerunner can read this one.
  if (exists) { fchmod(descriptor, status.st_mode & 0777U); }
  close(descriptor);
}

TemporaryFile::~TemporaryFile() {
  if (!isInPlace_) { unlink(path_.c_str()); }
}

void TemporaryFile::CopyFrom(const std::string& other) const {
  const Descriptor from(other, O_RDONLY);
  const Descriptor to(path_, O_WRONLY | O_TRUNC);
  std::vector<char> buffer(std::size_t{1} << 20U);
  for (;;) {
    const ssize_t got = read(from.Number(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) { continue; }
    if (got < 0) { Fail(other); }
    if (got == 0) { return; }
    WriteAll(to.Number(), buffer.data(), static_cast<std::size_t>(got));
  }
}

void TemporaryFile::PutInPlace() {
  Sync(path_);
  if (std::rename(path_.c_str(), target_.c_str()) != 0) { Fail(target_); }
  isInPlace_ = true;
  Sync(FolderOf(target_));
}

}  // namespace brio::dbi::snapshot
