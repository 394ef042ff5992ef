#include "tools/maps/PictureFile.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace brio::tools {
namespace {

constexpr const char* kProgram = "rsvg-convert";

struct CloseFile {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using TemporaryFile = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(std::string(kProgram) + ": " + what);
}

/// A file without a name, which goes when it is closed: unlike a pipe it takes all that is written.
TemporaryFile MakeTemporary() {
  TemporaryFile file(std::tmpfile());
  if (!file) { Fail(std::string("no temporary file: ") + std::strerror(errno)); }
  fcntl(fileno(file.get()), F_SETFD, FD_CLOEXEC);
  return file;
}

std::string AllOf(std::FILE* file) {
  std::rewind(file);
  std::string text;
  std::array<char, 65536> part{};
  while (const auto size = std::fread(part.data(), 1, part.size(), file)) {
    text.append(part.data(), size);
  }
  return text;
}

/// \return its exit status
int Run(std::vector<std::string> words, const std::array<std::FILE*, 3>& streams) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (auto& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, fileno(streams.at(static_cast<std::size_t>(i))), i);
  }
  pid_t child = 0;
  const int error = posix_spawnp(&child, kProgram, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) { Fail(std::strerror(error)); }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {}
  return status;
}

}  // namespace

std::string WhyNotRendered(const std::string& form) {
  const char* variable = std::getenv("PATH");
  std::istringstream folders(variable == nullptr ? "" : variable);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (access((folder + '/' + kProgram).c_str(), X_OK) == 0) { return {}; }
  }
  return "a picture as ." + form + " needs the program " + kProgram +
         ", which is not there (Debian's package librsvg2-bin has it); .svg needs nothing";
}

std::string Rendered(const std::string& svg, const std::string& form) {
  const TemporaryFile input = MakeTemporary();
  const TemporaryFile output = MakeTemporary();
  const TemporaryFile complaints = MakeTemporary();
  if (std::fwrite(svg.data(), 1, svg.size(), input.get()) != svg.size() || std::fflush(input.get()) != 0) {
    Fail(std::string("no temporary file: ") + std::strerror(errno));
  }
  std::rewind(input.get());
  std::vector<std::string> words{kProgram, "--format=" + form, "--unlimited"};
  if (form == "png") { words.push_back("--zoom=" + std::to_string(kRenderedZoom)); }
  const int status = Run(words, {input.get(), output.get(), complaints.get()});
  std::string made = AllOf(output.get());
  if (status != 0 || made.empty()) {
    std::string reason = AllOf(complaints.get());
    while (!reason.empty() && reason.back() == '\n') {
      reason.pop_back();
    }
    Fail(reason.empty() ? "it made no picture" : reason);
  }
  return made;
}

}  // namespace brio::tools
