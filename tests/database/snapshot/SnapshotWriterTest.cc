// A file is written whole or not at all.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/StoredAnswer.h"
#include "framework/exception.h"
#include "tests/database/snapshot/Snapshots.h"

namespace brio::test {
namespace {

using dbi::snapshot::RecordedRows;
using dbi::snapshot::RunState;
using dbi::snapshot::SnapshotFile;
using dbi::snapshot::SnapshotWriter;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> FilesIn(const TemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    names.push_back(entry.path().filename());
  }
  return names;
}

template <class Action>
std::string ErrorOf(const Action& action) {
  try {
    action();
  } catch (const cet::exception& error) { return error.category() + ": " + error.message(); }
  return "none";
}

/// Rows that cannot be compressed.
RecordedRows Noise(int rows) {
  std::mt19937 random(1);
  ValueRows values;
  for (int i = 0; i < rows; ++i) {
    std::string text;
    for (int k = 0; k < 16; ++k) {
      text += static_cast<char>('!' + random() % 90);
    }
    values.push_back({text});
  }
  return Recorded(values);
}

class SnapshotWriting : public testing::Test {
protected:
  TemporaryFolder folder_;
  std::string path_ = folder_.Path() + "/file.brio";
};

TEST_F(SnapshotWriting, ReplacesTheFileWhenItIsWhole) {
  folder_.Write("file.brio", "old");
  ASSERT_EQ(chmod(path_.c_str(), 0640), 0);
  SnapshotWriter writer(path_);
  writer.Add(Key("q"), TextColumns(1), Recorded({{"1"}}));
  EXPECT_EQ(Contents(path_), "old");
  EXPECT_EQ(writer.TemporaryPath().find(folder_.Path() + "/.file.brio."), 0U) << writer.TemporaryPath();
  writer.Commit();
  EXPECT_THAT(FilesIn(folder_), ElementsAre("file.brio"));
  EXPECT_EQ(Contents(path_).substr(0, 15), "SQLite format 3");
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U) << "who could read the old one can read the new one";
}

TEST_F(SnapshotWriting, ThatIsGivenUpLeavesTheOldFileAlone) {
  folder_.Write("file.brio", "old");
  {
    SnapshotWriter writer(path_);
    writer.Add(Key("q"), TextColumns(1), Noise(100'000));
    EXPECT_THAT(FilesIn(folder_), testing::SizeIs(2));
  }
  EXPECT_THAT(FilesIn(folder_), ElementsAre("file.brio"));
  EXPECT_EQ(Contents(path_), "old");
}

/// A limit on the size of files stands for a disk that is full. In a child, since it is the process's.
TEST_F(SnapshotWriting, OnADiskThatIsFullLeavesTheOldFileAlone) {
  folder_.Write("file.brio", "old");
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{200'000, 200'000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const auto error = ErrorOf([&] {
      SnapshotWriter writer(path_);
      for (int i = 0; i < 10; ++i) {
        writer.Add(Key(std::to_string(i)), TextColumns(1), Noise(5'000 + i));
      }
      writer.Commit();
    });
    _exit(error == "BrioDatabase: snapshot " + path_ + " cannot be written: disk I/O error" ||
                  error == "BrioDatabase: snapshot " + path_ + " cannot be written: database or disk is full"
              ? 0
              : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(FilesIn(folder_), ElementsAre("file.brio"));
  EXPECT_EQ(Contents(path_), "old");
}

TEST_F(SnapshotWriting, WhereItCannotSaysWhy) {
  const auto open = [](const std::string& path) { return ErrorOf([&] { SnapshotWriter writer(path); }); };
  const std::string nowhere = folder_.Path() + "/nowhere";
  EXPECT_EQ(open(nowhere + "/file.brio"), "BrioDatabase: snapshot " + nowhere +
                                              "/file.brio cannot be written: " + nowhere +
                                              ": No such file or directory");
  EXPECT_EQ(open(folder_.Path()),
            "BrioDatabase: snapshot " + folder_.Path() + " cannot be written: it is no regular file");
  EXPECT_EQ(open("/dev/null"), "BrioDatabase: snapshot /dev/null cannot be written: it is no regular file");
}

TEST_F(SnapshotWriting, ThroughALinkKeepsTheLink) {
  const std::string link = folder_.Path() + "/link.brio";
  folder_.Write("file.brio", "old");
  ASSERT_EQ(symlink("file.brio", link.c_str()), 0);
  SnapshotWriter(link).Commit();
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_THAT(SnapshotFile::Open(path_)->VerifyAll(), IsEmpty());
}

TEST_F(SnapshotWriting, AppendsToWhatIsThere) {
  const std::string old = WriteSample(folder_);
  SnapshotWriter writer(old);
  writer.Append(old);
  const auto answer = writer.Add(Key("facts of 13002"), TextColumns(1), Recorded({{"new"}}));
  writer.AddRun(SavedRunOf(13002), {answer});
  writer.Commit();
  const auto file = SnapshotFile::Open(old);
  EXPECT_EQ(file->Runs().size(), 3U);
  EXPECT_THAT(file->VerifyAll(), IsEmpty());
  EXPECT_EQ(file->Find(Key("facts of 13000"), 13000)->Rows(), 3);
  EXPECT_EQ(file->Find(Key("facts of 13002"), 13002)->Rows(), 1);
  EXPECT_EQ(file->Find(Key("own"), std::nullopt)->Rows(), 1);
}

TEST_F(SnapshotWriting, ReplacesARunThatIsSavedAgain) {
  const std::string old = WriteSample(folder_, 10'000);
  SnapshotWriter writer(old);
  writer.Append(old);
  writer.AddRun(SavedRunOf(13000, "birch", RunState::Missing),
                {writer.Add(Key("facts of 13000"), TextColumns(2), Recorded({}))});
  writer.Commit();
  const auto file = SnapshotFile::Open(old);
  const auto runs = file->Runs();
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].state == RunState::Missing, runs[0].run == 13000);
  EXPECT_EQ(file->Find(Key("facts of 13000"), 13000)->Rows(), 0);
  EXPECT_EQ(file->Find(Key("facts of 13001"), 13001)->Rows(), 10'000);
  EXPECT_EQ(file->Find(Key("own"), std::nullopt)->Rows(), 1);
  EXPECT_EQ(file->Summary().answers, 4);
  EXPECT_EQ(file->Summary().blocks, 4) << "the block that nothing else used went with it";
  EXPECT_THAT(file->VerifyAll(), IsEmpty());
}

TEST_F(SnapshotWriting, KeepsOneAnswerOfARunToAStatement) {
  SnapshotWriter writer(path_);
  const auto first = writer.Add(Key("q"), TextColumns(1), Recorded({{"1"}}));
  const auto second = writer.Add(Key("q"), TextColumns(1), Recorded({{"1"}, {"2"}}));
  EXPECT_EQ(writer.Add(Key("q"), TextColumns(1), Recorded({{"1"}})), first) << "the same is stored once";
  writer.AddRun(SavedRunOf(1), {first, second});
  writer.Commit();
  EXPECT_EQ(SnapshotFile::Open(path_)->Find(Key("q"), 1)->Rows(), 2) << "the one given last";
}

TEST_F(SnapshotWriting, AppendsNothingToAFileThatIsDamaged) {
  const std::string old = WriteSample(folder_, 10'000);
  auto bytes = Contents(old);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  folder_.Write("sample.brio", bytes);
  EXPECT_THAT(ErrorOf([&] { SnapshotWriter(old).Append(old); }),
              StartsWith("BrioDatabase: snapshot " + old + " is damaged: "));
  EXPECT_EQ(Contents(old), bytes);
}

TEST_F(SnapshotWriting, RefusesWhatCouldNotBeReadAgain) {
  SnapshotWriter writer(path_);
  EXPECT_THAT(ErrorOf([&] { writer.Add(Key("q"), TextColumns(2), Recorded({{"1"}})); }),
              HasSubstr("rows of other columns than it says"));
  EXPECT_THAT(ErrorOf([&] { writer.Add(Key("q"), {}, Recorded({{"1"}})); }),
              HasSubstr("rows of other columns than it says"));
  const std::string large(65U << 20U, 'x');
  EXPECT_THAT(ErrorOf([&] { writer.Add(Key("q"), TextColumns(1), Recorded({{large}})); }),
              HasSubstr("one column of an answer has 68157446 bytes, more than 67108864"));
  EXPECT_THAT(ErrorOf([&] { writer.AddRun(SavedRunOf(1), {99}); }), HasSubstr("it has no answer 99"));
  RecordedRows rows = Recorded({{"1"}});
  const dbi::Cell cells[2];
  EXPECT_THROW(rows.Add(dbi::RowView(cells, 2)), cet::exception);
}

}  // namespace
}  // namespace brio::test
