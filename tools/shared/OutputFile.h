#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

namespace brio::tools {

/// Where an answer goes: a file that is written whole or not at all, or standard output ("-"). A file that is
/// there is replaced at the end; a device or a pipe is written to.
class OutputFile {
public:
  /// Before the answer is worked out. \throws std::runtime_error with the reason when it could not be written
  explicit OutputFile(const std::string& path);
  /// Removes what was written unless Keep was called.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::ostream& Stream();
  /// Once all is written. \throws std::runtime_error when not all could be
  void Keep();

private:
  class Buffer;

  void OpenTemporary();
  void RemoveTemporary();
  [[noreturn]] void Fail() const;

  std::string path_;
  std::string target_;  ///< the file to be replaced, links followed; empty when it is not replaced
  std::optional<unsigned int> mode_;  ///< its permissions, when it is there
  std::string temporary_;             ///< the name beside it; empty while there is none
  std::unique_ptr<Buffer> buffer_;
  std::unique_ptr<std::ostream> stream_;
};

/// The ending of a file's name, in lower case: "csv"; empty without one.
std::string EndingOf(const std::string& path);

}  // namespace brio::tools
