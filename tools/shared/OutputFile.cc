#include "tools/shared/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <system_error>

#include "tools/shared/Console.h"

namespace brio::tools {

/// Writes to a descriptor, which it closes. Where writing has failed, it keeps the reason.
class OutputFile::Buffer : public std::streambuf {
public:
  explicit Buffer(int descriptor) : descriptor_(descriptor) {
    setp(room_.data(), room_.data() + room_.size());
  }
  ~Buffer() override { Close(); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  int Error() const { return error_; }
  bool Close() {
    if (descriptor_ < 0) { return error_ == 0; }
    if (close(descriptor_) != 0 && error_ == 0) { error_ = errno; }
    descriptor_ = -1;
    return error_ == 0;
  }

protected:
  int_type overflow(int_type character) override {
    if (sync() != 0) { return traits_type::eof(); }
    if (traits_type::eq_int_type(character, traits_type::eof())) { return traits_type::not_eof(character); }
    return sputc(traits_type::to_char_type(character));
  }
  int sync() override {
    const bool written = Write(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    setp(room_.data(), room_.data() + room_.size());
    return written ? 0 : -1;
  }
  std::streamsize xsputn(const char* text, std::streamsize length) override {
    return sync() == 0 && Write(text, static_cast<std::size_t>(length)) ? length : 0;
  }

private:
  bool Write(const char* text, std::size_t length) {
    while (length > 0 && error_ == 0) {
      const ssize_t written = write(descriptor_, text, length);
      if (written >= 0) {
        text += written;
        length -= static_cast<std::size_t>(written);
      } else if (errno != EINTR) {
        error_ = errno;
      }
    }
    return error_ == 0;
  }

  int descriptor_;
  int error_ = 0;
  std::array<char, 1 << 14> room_{};
};

void OutputFile::Fail() const {
  const int error = buffer_ && buffer_->Error() != 0 ? buffer_->Error() : errno;
  throw std::runtime_error("cannot write " + path_ + ": " + std::strerror(error));
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
  if (path == "-") { return; }
  struct stat status {};
  const bool isThere = stat(path.c_str(), &status) == 0;
  if (!isThere && errno != ENOENT) { Fail(); }
  if (isThere && !S_ISREG(status.st_mode)) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) { Fail(); }
    buffer_ = std::make_unique<Buffer>(descriptor);
  } else {
    std::error_code error;
    const auto target = std::filesystem::weakly_canonical(path, error);
    target_ = error ? path : target.string();
    // What must not be written to is not replaced either.
    if (isThere && access(target_.c_str(), W_OK) != 0) { Fail(); }
    if (isThere) { mode_ = status.st_mode & 0777U; }
    // Tried now, and not left there while the answer is worked out.
    OpenTemporary();
    RemoveTemporary();
    buffer_.reset();
  }
}

void OutputFile::OpenTemporary() {
  constexpr int kTries = 100;
  for (int i = 0; i < kTries; ++i) {
    temporary_ = target_ + '.' + std::to_string(getpid()) + '.' + std::to_string(i) + ".part";
    const int descriptor = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor >= 0) {
      buffer_ = std::make_unique<Buffer>(descriptor);
      if (mode_) { static_cast<void>(fchmod(descriptor, *mode_)); }
      return;
    }
    if (errno != EEXIST) { break; }
  }
  temporary_.clear();
  Fail();
}

void OutputFile::RemoveTemporary() {
  if (!temporary_.empty()) { static_cast<void>(unlink(temporary_.c_str())); }
  temporary_.clear();
}

OutputFile::~OutputFile() { RemoveTemporary(); }

std::ostream& OutputFile::Stream() {
  if (path_ == "-") { return console::Answer(); }
  if (!stream_) {
    if (!buffer_) { OpenTemporary(); }
    stream_ = std::make_unique<std::ostream>(buffer_.get());
  }
  return *stream_;
}

void OutputFile::Keep() {
  if (!stream_) { return; }
  stream_->flush();
  if (!buffer_->Close() || !*stream_) { Fail(); }
  if (temporary_.empty()) { return; }
  if (rename(temporary_.c_str(), target_.c_str()) != 0) { Fail(); }
  temporary_.clear();
}

std::string EndingOf(const std::string& path) {
  const auto point = path.find_last_of("./");
  if (point == std::string::npos || path[point] == '/') { return {}; }
  std::string ending = path.substr(point + 1);
  for (auto& character : ending) {
    if (character >= 'A' && character <= 'Z') { character = static_cast<char>(character - 'A' + 'a'); }
  }
  return ending;
}

}  // namespace brio::tools
