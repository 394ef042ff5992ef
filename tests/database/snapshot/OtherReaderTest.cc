// A snapshot can be read without this library: SQLite, zstd and the description of the format are enough.
#include <array>
#include <cstdio>
#include <memory>

#include <gtest/gtest.h>

#include "tests/database/snapshot/Snapshots.h"

namespace brio::test {
namespace {

using dbi::snapshot::SnapshotWriter;

std::string OutputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> buffer{};
  for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;) {
    output.append(buffer.data(), got);
  }
  return output;
}

TEST(SnapshotForOthers, CanBeReadWithSQLiteAndZstd) {
  const TemporaryFolder folder;
  const std::string path = folder.Path() + "/file.brio";
  ValueRows rows;
  std::string expected = "[\"a\", \"b\", \"c\"]\n";
  for (int i = 0; i < 4'000; ++i) {
    const std::string number = std::to_string(i);
    const std::string few = "few " + std::to_string(i % 700);
    rows.push_back({number, few, i % 2 == 0 ? Value() : Value("")});
    expected += "[\"" + number + "\", \"" + few + "\", " + (i % 2 == 0 ? "null" : "\"\"") + "]\n";
  }
  SnapshotWriter writer(path);
  writer.AddRun(SavedRunOf(1), {writer.Add(Key("q"), TextColumns(3), Recorded(rows))});
  writer.AddRun(SavedRunOf(2), {writer.Add(Key("q"), TextColumns(3), Recorded({}))});
  writer.Commit();
  EXPECT_EQ(OutputOf(BRIO_READ_SNAPSHOT " " + path + " Birch 1 q"), expected);
  EXPECT_EQ(OutputOf(BRIO_READ_SNAPSHOT " " + path + " birch 2 q"), "[\"a\", \"b\", \"c\"]\n");
}

}  // namespace
}  // namespace brio::test
