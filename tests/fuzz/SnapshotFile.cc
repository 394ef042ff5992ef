// A snapshot in which some bytes were changed: its answers as they were, or an error that names the file.
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotWriter.h"
#include "database/snapshot/StoredAnswer.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"
#include "tests/fuzz/Fuzz.h"

namespace {

using namespace brio::dbi;
using namespace brio::dbi::snapshot;
using brio::fuzz::Require;

constexpr int kRun = 13000;
constexpr int kRows = 100;

AnswerKey Question() {
  Statement statement;
  statement.text = "question";
  return {"Birch", DatabaseKind::Runs, statement};
}

/// A good file, and the place for bad copies of it.
class Files {
public:
  Files() {
    std::string name = "/tmp/brio-fuzz-XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "there is a temporary folder");
    folder_ = name;
    const auto path = folder_ / "good.brio";
    RecordedRows rows;
    for (int i = 0; i < kRows; ++i) {
      const std::string number = std::to_string(i);
      const std::string few = std::to_string(i % 3);
      const std::array<Cell, 2> cells{
          {{number.c_str(), static_cast<int>(number.size())}, {few.c_str(), static_cast<int>(few.size())}}};
      rows.Add(RowView(cells.data(), 2));
    }
    SnapshotWriter writer(path);
    SavedRun run;
    run.detector = "Birch";
    run.run = kRun;
    writer.AddRun(run, {writer.Add(Question(), std::vector<ResultColumn>(2), rows)});
    writer.Commit();
    std::ifstream file(path, std::ios::binary);
    good_.assign(std::istreambuf_iterator<char>(file), {});
  }
  ~Files() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  const std::string& Good() const { return good_; }
  /// Under another name each time.
  std::filesystem::path Write(const std::string& bytes) {
    std::filesystem::remove(last_);
    last_ = folder_ / (std::to_string(++count_) + ".brio");
    std::ofstream(last_, std::ios::binary) << bytes;
    return last_;
  }

private:
  std::filesystem::path folder_;
  std::filesystem::path last_;
  std::string good_;
  long count_ = 0;
};

void CheckRows(const StoredAnswer& answer) {
  Require(answer.Rows() == kRows, "the answer has its rows");
  StoredAnswer::RowReader rows(answer);
  for (int i = 0; i < kRows; ++i) {
    const auto row = rows.Next();
    Require(row.Text(0) == std::to_string(i) && row.Text(1) == std::to_string(i % 3), "the answer is right");
  }
}

}  // namespace

/// Four bytes each: three for the place, one for what stands there; a place behind the end cuts the file.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Files files;
  std::string bytes = files.Good();
  for (; size >= 4; data += 4, size -= 4) {
    const std::size_t at = data[0] | std::size_t{data[1]} << 8U | std::size_t{data[2]} << 16U;
    if (at < bytes.size()) {
      bytes[at] = static_cast<char>(data[3]);
    } else {
      bytes.resize(at % (bytes.size() + 1));
    }
  }
  const auto path = files.Write(bytes);
  const auto tolerated = [&](const cet::exception& error) {
    Require(error.message().find(path.string()) != std::string::npos, "the message names the file");
  };
  try {
    const auto file = SnapshotFile::Open(path);
    file->VerifyAll();
    for (const auto run : {std::optional<int>(kRun), std::optional<int>()}) {
      try {
        CheckRows(*file->Find(Question(), run));
      } catch (const cet::exception& error) { tolerated(error); }
    }
    file->Summary();
    file->Runs();
  } catch (const cet::exception& error) { tolerated(error); }
  return 0;
}
