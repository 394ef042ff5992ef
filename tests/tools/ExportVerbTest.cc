#include <sys/resource.h>
#include <csignal>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "arrays/Writers.h"
#include "tests/arrays/SampleRuns.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

namespace fs = std::filesystem;
using arrays::Form;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ExportVerb : public testing::Test {
protected:
  ExportVerb() {
    std::string pattern = fs::temp_directory_path() / "brio-export-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) { throw std::runtime_error("cannot make a folder"); }
    folder_ = pattern;
  }
  ~ExportVerb() override { fs::remove_all(folder_); }
  ExportVerb(const ExportVerb&) = delete;
  ExportVerb& operator=(const ExportVerb&) = delete;

  std::string Path(const std::string& name) const { return folder_ / name; }
  static std::string Contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  static CommandResult Export(const std::string& what, const std::string& run, const Arguments& more,
                              const std::string& detector = "Alder") {
    Arguments arguments{"export", what, "--run", run};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return OnSmall(detector, arguments);
  }
  template <class... Records>
  static std::string Written(Form form, const Records&... records) {
    std::ostringstream text;
    arrays::Write(text, form, records...);
    return text.str();
  }

  fs::path folder_;
};

TEST_F(ExportVerb, WritesWhatTheArraysHoldInTheFormOfTheEnding) {
  const ArraysOfRun sample("Alder", 11000);
  const std::vector<std::pair<std::string, Form>> forms{
      {"a.csv", Form::CSV}, {"a.json", Form::JSON}, {"a.jsonl", Form::NDJSON}, {"a.NDJSON", Form::NDJSON}};
  for (const auto& [name, form] : forms) {
    EXPECT_EQ(Export("boards", "11000", {"-o", Path(name)}).status, 0);
    EXPECT_EQ(Contents(Path(name)), Written(form, sample.boards));
    EXPECT_EQ(Export("channels", "11000", {"-o", Path(name)}).status, 0);
    EXPECT_EQ(Contents(Path(name)), Written(form, sample.channels, sample.boards));
  }
}

TEST_F(ExportVerb, WritesToStandardOutputAsCsvUnlessAskedOtherwise) {
  const ArraysOfRun sample("Birch", 13010, "small", true);
  EXPECT_EQ(Export("boards", "13010", {"--use-mask"}, "Birch").output, Written(Form::CSV, sample.boards));
  EXPECT_EQ(Export("boards", "13010", {"--use-mask", "-o", "-"}, "Birch").output,
            Written(Form::CSV, sample.boards));
  EXPECT_EQ(Export("boards", "13010", {"--use-mask", "--json"}, "Birch").output,
            Written(Form::JSON, sample.boards));
  EXPECT_EQ(Export("boards", "13010", {"--use-mask", "--format", "jsonl"}, "Birch").output,
            Written(Form::NDJSON, sample.boards));
}

json ValueAt(sqlite3_stmt* row, int column, const json& like) {
  switch (sqlite3_column_type(row, column)) {
    case SQLITE_NULL: return nullptr;
    case SQLITE_FLOAT: return sqlite3_column_double(row, column);
    case SQLITE_TEXT:
      return std::string(static_cast<const char*>(sqlite3_column_blob(row, column)),
                         static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
    default: {
      const auto number = sqlite3_column_int64(row, column);
      return like.is_boolean() ? json(number == 1) : json(number);
    }
  }
}

TEST_F(ExportVerb, WritesTheSameIntoASqliteDatabase) {
  for (const auto& [what, run, detector] :
       {std::tuple("boards", "13003", "Birch"), {"channels", "11001", "Alder"}, {"boards", "5", "Alder"}}) {
    const auto path = Path("all.sqlite");
    const auto wanted = json::parse(Export(what, run, {"--json"}, detector).output);
    ASSERT_EQ(Export(what, run, {"-o", path}, detector).status, 0);
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(opened, &sqlite3_close);
    sqlite3_stmt* prepared = nullptr;
    const auto all = "SELECT * FROM " + std::string(what);
    ASSERT_EQ(sqlite3_prepare_v2(opened, all.c_str(), -1, &prepared, nullptr), SQLITE_OK);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> row(prepared, &sqlite3_finalize);
    std::size_t count = 0;
    for (; sqlite3_step(row.get()) == SQLITE_ROW; ++count) {
      ASSERT_LT(count, wanted.size());
      ASSERT_EQ(sqlite3_column_count(row.get()), static_cast<int>(wanted[count].size()));
      for (int column = 0; column < sqlite3_column_count(row.get()); ++column) {
        const auto& value = wanted[count][sqlite3_column_name(row.get(), column)];
        ASSERT_EQ(ValueAt(row.get(), column, value), value) << count << ' ' << column;
      }
    }
    EXPECT_EQ(count, wanted.size());
    EXPECT_GT(count, 600U);
  }
}

TEST_F(ExportVerb, SaysBeforeTheLoadThatAFileCannotBeWritten) {
  const auto result = RunHistoryCommand({"export", "boards", "-d", "Birch", "-r", "13000", "-o",
                                         Path("missing/a.csv"), "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error,
            "runhistory: cannot write " + Path("missing/a.csv") + ": No such file or directory\n");
}

TEST_F(ExportVerb, RefusesAnEndingThatNamesNoForm) {
  const auto result = RunHistoryCommand({"export", "boards", "-d", "Birch", "-r", "13000", "-o",
                                         Path("a.xlsx"), "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.error,
            "runhistory: \"" + Path("a.xlsx") +
                "\" ends in none of .csv, .json, .jsonl and .sqlite; --format names the form\n");
  EXPECT_EQ(Export("boards", "11000", {"-o", Path("a.xlsx"), "--format", "csv"}).status, 0);
  EXPECT_THAT(Contents(Path("a.xlsx")), StartsWith("run,diblock,dcm,port,"));
}

TEST_F(ExportVerb, LeavesAFileAsItIsWhenTheRunCannotBeLoaded) {
  std::ofstream(Path("a.csv")) << "before";
  const auto result = Export("boards", "14999", {"-o", Path("a.csv")}, "Birch");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
  EXPECT_EQ(Contents(Path("a.csv")), "before");
  EXPECT_THAT(Files(), ElementsAre("a.csv"));
}

/// Lets the processes of this one write no more than so many bytes to a file.
class FileSizeLimit {
public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    static_cast<void>(std::signal(SIGXFSZ, handler_));
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
  void (*handler_)(int);
  rlimit before_{};
};

TEST_F(ExportVerb, LeavesAFileAsItIsWhenNotAllCanBeWritten) {
  for (const std::string form : {"csv", "sqlite"}) {
    std::ofstream(Path("a")) << "before";
    CommandResult result;
    {
      const FileSizeLimit limit(1 << 20);
      result = Export("channels", "11000", {"-o", Path("a"), "--format", form});
    }
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("runhistory: cannot write " + Path("a") + ": File too large\n"));
    EXPECT_EQ(Contents(Path("a")), "before");
    EXPECT_THAT(Files(), ElementsAre("a"));
  }
}

TEST_F(ExportVerb, WritesThroughLinksAndToDevices) {
  std::ofstream(Path("target.csv")) << "before";
  fs::permissions(Path("target.csv"), fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(Path("target.csv"), Path("link.csv"));
  EXPECT_EQ(Export("boards", "11000", {"-o", Path("link.csv")}).status, 0);
  EXPECT_TRUE(fs::is_symlink(Path("link.csv")));
  EXPECT_THAT(Contents(Path("target.csv")), StartsWith("run,diblock,dcm,port,"));
  EXPECT_EQ(fs::status(Path("target.csv")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  const auto full = Export("boards", "11000", {"-o", "/dev/full", "--format", "csv"});
  EXPECT_EQ(full.status, 1);
  EXPECT_THAT(full.error, HasSubstr("runhistory: cannot write /dev/full: No space left on device\n"));
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(ExportVerb, WritesWhatThereIsAndSaysWhatIsMissing) {
  const auto result = Export("boards", "13015", {"-o", Path("a.json")}, "Birch");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13015 of Birch: "));
  const auto boards = json::parse(Contents(Path("a.json")));
  ASSERT_EQ(boards.size(), 10752U);
  EXPECT_EQ(boards[0]["installed"], true);
  EXPECT_EQ(boards[0]["enabled"], nullptr);
  EXPECT_EQ(boards[0]["enabled_status"], "configuration not loaded");
}

TEST_F(ExportVerb, AnswersForOneRunOfBoardsOrChannels) {
  EXPECT_EQ(Export("boards", "13000-13001", {}, "Birch").status, 2);
  EXPECT_EQ(Export("planes", "13000", {}, "Birch").status, 2);
  const auto none = Export("channels", "13000", {"-o", folder_}, "Birch");
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(Export("channels", "13000", {"-o", folder_, "--format", "csv"}, "Birch").status, 1);
  EXPECT_THAT(Files(), IsEmpty());
}

}  // namespace
}  // namespace brio::test
