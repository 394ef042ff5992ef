// Several users of the same files at once: threads, and processes that were forked off.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/snapshot/SnapshotFile.h"
#include "tests/database/snapshot/Snapshots.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::DatabaseKind;
using dbi::snapshot::SnapshotWriter;

std::size_t RowsOfRun(const std::string& detector, int run) {
  const dbi::LoadScope scope(false, false, run);
  const auto session = dbi::AcquireSession(detector, DatabaseKind::Runs, 0);
  if (!session) { return 0; }
  const auto rows = RowsOf(*session, Asked("facts of " + std::to_string(run)));
  return rows ? rows->size() : 0;
}

std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

class SnapshotUsers : public testing::Test {
protected:
  TemporaryFolder folder_;
  EnvironmentVariable database_{"BRIO_DATABASE", "snapshot:" + WriteSample(folder_, 2'000)};
};

TEST_F(SnapshotUsers, OnSeveralThreadsGetTheirAnswers) {
  const TemporaryFolder other;
  WriteSample(other, 500);
  std::filesystem::rename(folder_.Path() + "/sample.brio", folder_.Path() + "/birch.brio");
  {
    SnapshotWriter writer(folder_.Path() + "/alder.brio");
    const auto answer = writer.Add(Key("facts of 1", "Alder"), TextColumns(1), Recorded({{"1"}, {"2"}}));
    writer.AddRun(SavedRunOf(1, "Alder"), {answer});
    writer.Commit();
  }
  const EnvironmentVariable both("BRIO_DATABASE", "snapshot:" + folder_.Path() + "/{detector}.brio");
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&wrong, thread] {
      for (int i = 0; i < 20; ++i) {
        const bool alder = (thread + i) % 4 == 0;
        const auto rows = alder ? RowsOfRun("Alder", 1) : RowsOfRun("Birch", 13000 + (thread + i) % 2);
        if (rows != (alder ? 2U : 2'000U)) { ++wrong; }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(SnapshotUsers, LeaveNoDescriptorOpen) {
  const auto before = OpenDescriptors();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(RowsOfRun("Birch", 13000), 2'000U);
    EXPECT_EQ(RowsOfRun("Birch", 13002), 0U);
    EXPECT_EQ(OpenDescriptors(), before);
  }
}

/// The parent's file is not the child's to read on: they would move each other's place in it.
TEST_F(SnapshotUsers, ThatAreForkedOffOpenTheFileForThemselves) {
  const dbi::LoadScope scope(false, false, 13000);
  const auto session = dbi::AcquireSession("Birch", DatabaseKind::Runs, 0);
  ASSERT_TRUE(session);
  ASSERT_TRUE(RowsOf(*session, Asked("shared")));
  const pid_t child = fork();
  if (child == 0) {
    const bool isRefused = !session->IsUsable() && session->Execute(Asked("shared")) == nullptr;
    const bool isAnswered = RowsOfRun("Birch", 13000) == 2'000 && RowsOfRun("Birch", 13001) == 2'000;
    dbi::LoadScope::LeaveConnections();
    _exit(isRefused && isAnswered ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(session->IsUsable());
  EXPECT_TRUE(RowsOf(*session, Asked("facts of 13000")));
}

/// A thousand jobs on one file of a network's: none asks for a lock, or looks for a journal.
TEST_F(SnapshotUsers, HeedNoLocksAndNoJournals) {
  const std::string path = folder_.Path() + "/sample.brio";
  folder_.Write("sample.brio-journal", "nonsense");
  folder_.Write("sample.brio-wal", "nonsense");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    struct flock everything {};
    everything.l_type = F_WRLCK;
    const bool isLocked = fcntl(open(path.c_str(), O_RDWR), F_SETLK, &everything) == 0;
    if (write(ready[1], isLocked ? "y" : "n", 1) == 1) { pause(); }
    _exit(1);
  }
  char isLocked = 'n';
  EXPECT_EQ(read(ready[0], &isLocked, 1), 1);
  EXPECT_EQ(isLocked, 'y');
  EXPECT_EQ(RowsOfRun("Birch", 13000), 2'000U);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  EXPECT_EQ(std::filesystem::file_size(folder_.Path() + "/sample.brio-wal"), 8U);
}

/// A file replaces the standard input that a job has closed no more than a connection does.
TEST_F(SnapshotUsers, WithoutStandardInputKeepItClosed) {
  const pid_t child = fork();
  if (child == 0) {
    close(STDIN_FILENO);
    const dbi::LoadScope scope(false, false, 13000);
    const auto session = dbi::AcquireSession("Birch", DatabaseKind::Runs, 0);
    const bool isAnswered = session && RowsOf(*session, Asked("shared")).has_value();
    char byte = 0;
    _exit(isAnswered && read(STDIN_FILENO, &byte, 1) == -1 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace brio::test
