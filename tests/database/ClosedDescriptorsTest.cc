// A process that has closed standard input, output or error connects and prints all the same.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/StandardDescriptors.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

/// Does something in a child process with some descriptors closed, and gives the text that it returns.
template <class Work>
std::string InAProcessWithout(const std::vector<int>& descriptors, Work work) {
  std::array<int, 2> answer{};
  if (pipe2(answer.data(), O_CLOEXEC) != 0) { return "no pipe"; }
  const pid_t child = fork();
  if (child == 0) {
    for (const int descriptor : descriptors) {
      close(descriptor);
    }
    const std::string text = work();
    _exit(write(answer[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(answer[1]);
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t size = 0; (size = read(answer[0], buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  close(answer[0]);
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  return text;
}

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

std::string OpenOnes() {
  std::string open;
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    open += IsOpen(descriptor) ? std::to_string(descriptor) : "-";
  }
  return open;
}

/// As a library or a job does that knows nothing of closed descriptors.
void Print() {
  for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
    if (write(descriptor, "progress\n", 9) < 0) { continue; }
  }
}

class WithoutDescriptors : public test::OwnDatabase, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(WithoutDescriptors, ALoadIsAnsweredAndNothingIsPrintedToTheServer) {
  std::string left;
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    const auto& closed = GetParam();
    const bool isClosed = std::find(closed.begin(), closed.end(), descriptor) != closed.end();
    left += isClosed ? "-" : std::to_string(descriptor);
  }
  testing::internal::CaptureStdout();  // what is still open is not ours to print to
  testing::internal::CaptureStderr();
  const std::string said = InAProcessWithout(GetParam(), [&] {
    const LoadScope scope;
    const auto table = Facts();
    std::string all = Ask(*table, "SELECT note FROM facts WHERE id = 1");
    Print();
    all += " " + Ask(*table, "SELECT note FROM facts WHERE id = 2");
    all += table->Load() ? " loaded " + std::to_string(table->NRow()) : " not loaded";
    Print();
    return all + " " + Ask(*table, "SELECT 'still here'") + " " + OpenOnes();
  });
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(said, "one two loaded 2 still here " + left);
}

INSTANTIATE_TEST_SUITE_P(Connect, WithoutDescriptors,
                         testing::Values(std::vector<int>{0}, std::vector<int>{1}, std::vector<int>{2},
                                         std::vector<int>{1, 2}, std::vector<int>{0, 1, 2}));

TEST(StandardDescriptors, AreTakenAsLongAsAnyoneNeedsIt) {
  const std::string said = InAProcessWithout({0, 2}, [] {
    std::string all;
    {
      const StandardDescriptorsTaken outer;
      {
        const StandardDescriptorsTaken inner;
        all += OpenOnes();
      }
      const int next = dup(STDOUT_FILENO);
      all += " " + OpenOnes() + (next > STDERR_FILENO ? " above" : " below");
    }
    return all + " " + OpenOnes();
  });
  EXPECT_EQ(said, "012 012 above -1-");
}

TEST(StandardDescriptors, ThatAreTakenCanBeNeitherReadNorWritten) {
  const std::string said = InAProcessWithout({0, 1, 2}, [] {
    const StandardDescriptorsTaken taken;
    char byte = 0;
    return std::to_string(read(STDIN_FILENO, &byte, 1)) + std::to_string(write(STDOUT_FILENO, &byte, 1)) +
           std::to_string(write(STDERR_FILENO, &byte, 1));
  });
  EXPECT_EQ(said, "-1-1-1");
}

TEST(StandardDescriptors, AFileThatTheProcessPutsThereMeanwhileStays) {
  const std::string said = InAProcessWithout({1, 2}, [] {
    {
      const StandardDescriptorsTaken taken;
      const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
      dup2(file, STDERR_FILENO);
      close(file);
    }
    return OpenOnes();
  });
  EXPECT_EQ(said, "0-2");
}

}  // namespace
}  // namespace brio::dbi
