#include "tests/tools/Command.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace brio::test {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File Scratch() {
  File file(std::tmpfile(), &std::fclose);
  if (!file) { throw std::runtime_error("cannot make a scratch file"); }
  return file;
}

std::string Contents(std::FILE* file) {
  std::string text;
  std::array<char, 4096> buffer{};
  std::rewind(file);
  for (std::size_t size = 0; (size = std::fread(buffer.data(), 1, buffer.size(), file)) > 0;) {
    text.append(buffer.data(), size);
  }
  return text;
}

/// In the child: becomes the command.
[[noreturn]] void Become(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  std::string program = BRIO_RUNHISTORY;
  argv.push_back(program.data());
  std::vector<std::string> copies = arguments;
  for (auto& argument : copies) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

int StatusOf(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) { throw std::runtime_error("cannot wait for the command"); }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

pid_t Start(const std::vector<std::string>& arguments, std::FILE* input, std::FILE* output, std::FILE* error,
            const std::vector<int>& closed = {}) {
  const pid_t child = fork();
  if (child < 0) { throw std::runtime_error("cannot fork"); }
  if (child == 0) {
    dup2(fileno(input), STDIN_FILENO);
    dup2(fileno(output), STDOUT_FILENO);
    dup2(fileno(error), STDERR_FILENO);
    for (const int descriptor : closed) {
      close(descriptor);
    }
    Become(arguments);
  }
  return child;
}

int RunProcess(const std::vector<std::string>& arguments, std::FILE* input, std::FILE* output,
               std::FILE* error, const std::vector<int>& closed = {}) {
  return StatusOf(Start(arguments, input, output, error, closed));
}

}  // namespace

CommandResult RunHistoryCommand(const std::vector<std::string>& arguments, const std::string& input) {
  const File in = Scratch();
  const File output = Scratch();
  const File error = Scratch();
  if (std::fwrite(input.data(), 1, input.size(), in.get()) != input.size()) {
    throw std::runtime_error("cannot write the input");
  }
  std::rewind(in.get());
  const int status = RunProcess(arguments, in.get(), output.get(), error.get());
  return {status, Contents(output.get()), Contents(error.get())};
}

CommandResult RunHistoryCommandInto(const std::string& file, const std::vector<std::string>& arguments) {
  const File output(std::fopen(file.c_str(), "r+"), &std::fclose);
  if (!output) { throw std::runtime_error("cannot open " + file); }
  const File input = Scratch();
  const File error = Scratch();
  const int status = RunProcess(arguments, input.get(), output.get(), error.get());
  return {status, {}, Contents(error.get())};
}

CommandResult RunHistoryCommandWithout(const std::vector<int>& closed,
                                       const std::vector<std::string>& arguments) {
  const File input = Scratch();
  const File output = Scratch();
  const File error = Scratch();
  const int status = RunProcess(arguments, input.get(), output.get(), error.get(), closed);
  return {status, Contents(output.get()), Contents(error.get())};
}

CommandResult RunHistoryCommandSignalled(int signal, const std::function<void()>& wait,
                                         const std::vector<std::string>& arguments) {
  const File input = Scratch();
  const File output = Scratch();
  const File error = Scratch();
  const pid_t child = Start(arguments, input.get(), output.get(), error.get());
  wait();
  kill(child, signal);
  const int status = StatusOf(child);
  return {status, Contents(output.get()), Contents(error.get())};
}

CommandResult RunHistoryCommandOnTerminal(const std::vector<std::string>& arguments) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child < 0) { throw std::runtime_error("cannot make a terminal"); }
  if (child == 0) { Become(arguments); }
  CommandResult result;
  std::array<char, 4096> buffer{};
  // When the command has ended, reading its terminal fails.
  for (ssize_t size = 0; (size = read(terminal, buffer.data(), buffer.size())) > 0;) {
    result.output.append(buffer.data(), static_cast<std::size_t>(size));
  }
  close(terminal);
  result.status = StatusOf(child);
  return result;
}

}  // namespace brio::test
