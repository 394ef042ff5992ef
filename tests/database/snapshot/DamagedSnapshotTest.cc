// Files that were damaged, and files that are none: an error, and never a wrong answer.
#include <sys/stat.h>

#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/snapshot/SnapshotFile.h"
#include "framework/exception.h"
#include "tests/database/snapshot/Snapshots.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::snapshot::SnapshotFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kRows = 3'000;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The rows that a load of a run gets; nothing where it fails, which says so in one line.
std::optional<ValueRows> Loaded(const std::string& text, std::optional<int> run) {
  CapturedMessages messages("error");
  const dbi::LoadScope scope(false, false, run);
  const auto session = dbi::AcquireSession("Birch", dbi::DatabaseKind::Runs, 0);
  auto rows = session ? RowsOf(*session, Asked(text)) : std::nullopt;
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), SizeIs(rows ? 0 : 1));
  return rows;
}

/// What the two runs and a client are answered.
std::vector<std::optional<ValueRows>> LoadedByAll() {
  return {Loaded("shared", 13000),         Loaded("facts of 13000", 13000), Loaded("shared", 13001),
          Loaded("facts of 13001", 13001), Loaded("own", std::nullopt),     Loaded("shared", std::nullopt)};
}

bool IsFoundDamaged(const std::string& path) {
  try {
    return !SnapshotFile::Open(path)->VerifyAll().empty();
  } catch (const cet::exception&) { return true; }
}

class DamagedSnapshot : public testing::Test {
protected:
  static std::vector<ValueRows> Whole() {
    std::vector<ValueRows> rows;
    for (auto& answer : LoadedByAll()) {
      rows.push_back(answer.value());
    }
    return rows;
  }
  /// The name of a copy that holds these bytes.
  std::string Copy(const std::string& bytes) {
    // Another name each time: the same size in the same moment would look like the same file.
    auto path = folder_.Write("copy" + std::to_string(++copies_) + ".brio", bytes);
    database_.reset();  // an old value put back later would undo the new one
    database_ = std::make_unique<EnvironmentVariable>("BRIO_DATABASE", "snapshot:" + path);
    return path;
  }
  /// Asks a damaged copy for everything. \return whether anything failed
  bool Fails(const std::string& bytes, const std::string& what) {
    const auto path = Copy(bytes);
    const auto loaded = LoadedByAll();
    bool failed = false;
    for (std::size_t i = 0; i < whole_.size(); ++i) {
      failed = failed || !loaded[i];
      EXPECT_TRUE(!loaded[i] || *loaded[i] == whole_[i]) << "a wrong answer, " << what;
    }
    const bool isFound = IsFoundDamaged(path);
    EXPECT_TRUE(isFound || !failed) << "an error that verifying does not find, " << what;
    database_.reset();
    std::filesystem::remove(path);
    return isFound;
  }

  static void ExpectThatRunFails(int run, const std::string& path) {
    CapturedMessages messages("error");
    const dbi::LoadScope scope(false, false, run);
    const auto session = dbi::AcquireSession("Birch", dbi::DatabaseKind::Runs, 0);
    ASSERT_TRUE(session);
    EXPECT_FALSE(RowsOf(*session, Asked("shared"))) << "its own block is whole, but not the run";
    EXPECT_FALSE(RowsOf(*session, Asked("shared")));
    const auto errors = messages.Texts(Severity::Error, "BrioDatabase");
    ASSERT_THAT(errors, SizeIs(2));
    EXPECT_EQ(errors[0].find("snapshot " + path + " is damaged: run " + std::to_string(run) + " of Birch: "),
              0U)
        << errors[0];
  }

  TemporaryFolder folder_;
  std::string path_ = WriteSample(folder_, kRows);
  std::string good_ = Contents(path_);
  std::unique_ptr<EnvironmentVariable> database_ =
      std::make_unique<EnvironmentVariable>("BRIO_DATABASE", "snapshot:" + path_);
  std::vector<ValueRows> whole_ = Whole();
  int copies_ = 0;
};

TEST_F(DamagedSnapshot, CopiesFail) {
  std::mt19937 random(20'240'131);
  const auto page = [&](std::size_t size) { return random() % (good_.size() / size) * size; };
  int found = 0;
  for (int i = 0; i < 10; ++i) {
    std::string bit = good_;
    const std::size_t at = random() % bit.size();
    bit[at] = static_cast<char>(bit[at] ^ (1 << random() % 8));
    found += Fails(bit, "a bit at " + std::to_string(at)) ? 1 : 0;
    std::string block = good_;
    const std::size_t start = page(512);
    block.replace(start, 512, 512, '\0');
    found += Fails(block, "zeroes at " + std::to_string(start)) ? 1 : 0;
    std::string swapped = good_;
    const std::size_t one = page(4096);
    const std::size_t other = page(4096);
    std::swap_ranges(swapped.begin() + static_cast<long>(one),
                     swapped.begin() + static_cast<long>(one) + 4096,
                     swapped.begin() + static_cast<long>(other));
    found += Fails(swapped, "pages at " + std::to_string(one) + " and " + std::to_string(other)) ? 1 : 0;
    const std::size_t length = i == 0 ? good_.size() - 1 : random() % good_.size();
    EXPECT_TRUE(Fails(good_.substr(0, length), "cut to " + std::to_string(length)));
  }
  // A page has room that nothing is kept in.
  EXPECT_GE(found, 24) << "of 30 of which the end was not cut";
}

/// All through the file, also where its tables and indexes are.
TEST_F(DamagedSnapshot, BytesNeverGiveAWrongAnswer) {
  int found = 0;
  int tried = 0;
  for (std::size_t at = 0; at < good_.size(); at += at < 200 ? 7 : good_.size() / 400) {
    std::string bytes = good_;
    bytes[at] = static_cast<char>(bytes[at] ^ (at % 3 == 0 ? 0xFF : 1));
    found += Fails(bytes, "byte " + std::to_string(at)) ? 1 : 0;
    ++tried;
  }
  EXPECT_GT(found, tried / 2);
}

TEST_F(DamagedSnapshot, RunsFailAtTheirFirstStatementAndTheOthersDoNot) {
  for (std::size_t at = good_.size() / 2; at < good_.size(); at += 64) {
    std::string bytes = good_;
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    const auto copy = Copy(bytes);
    if (Loaded("shared", 13001) || !Loaded("shared", 13000)) { continue; }
    ExpectThatRunFails(13001, copy);
    EXPECT_TRUE(Loaded("shared", std::nullopt)) << "the run that is whole answers for both";
    EXPECT_EQ(SnapshotFile::Open(copy)->Verify("Birch", 13000), std::nullopt);
    EXPECT_NE(SnapshotFile::Open(copy)->Verify("Birch", 13001), std::nullopt);
    return;
  }
  FAIL() << "no byte damages the second run";
}

/// The error of opening what stands at a path.
std::string ErrorOf(const std::string& path) {
  try {
    SnapshotFile::Open(path);
  } catch (const cet::exception& error) { return error.message(); }
  return "none";
}

TEST_F(DamagedSnapshot, IsWhatIsNoSnapshot) {
  const auto reads = [&](const std::string& bytes) {
    const auto path = Copy(bytes);
    auto error = ErrorOf(path);
    const auto at = error.find(path);
    return at == std::string::npos ? error : error.replace(at, path.size(), "FILE");
  };
  EXPECT_EQ(reads(""), "FILE is no snapshot, but another application's file");
  EXPECT_EQ(reads("some text"), "snapshot FILE cannot be read: file is not a database");
  EXPECT_EQ(reads(std::string(100'000, '\0')), "snapshot FILE cannot be read: file is not a database");
  EXPECT_EQ(reads(good_.substr(0, 100)), "snapshot FILE cannot be read: database disk image is malformed");
  const std::string folder = folder_.Path();
  EXPECT_EQ(ErrorOf(folder), "snapshot " + folder + " cannot be read: it is no regular file");
  const std::string pipe = folder + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf(pipe), "snapshot " + pipe + " cannot be read: it is no regular file");
  EXPECT_EQ(ErrorOf(folder + "/none"),
            "snapshot " + folder + "/none cannot be read: No such file or directory");
}

}  // namespace
}  // namespace brio::test
