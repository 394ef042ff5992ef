#include "database/snapshot/StoredAnswer.h"

#include <limits>
#include <utility>

#include "database/snapshot/Blocks.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {
namespace {

AnswerForm FormIn(std::int64_t number) {
  if (number < static_cast<int>(AnswerForm::Command) || number > static_cast<int>(AnswerForm::Digest)) {
    throw SnapshotError("an answer has an unknown form");
  }
  return static_cast<AnswerForm>(number);
}

int RowsIn(std::int64_t number) {
  if (number < 0 || number > std::numeric_limits<int>::max()) {
    throw SnapshotError("an answer has an impossible number of rows");
  }
  return static_cast<int>(number);
}

}  // namespace

ContentHash HashOf(const AnswerRecord& record, const ContentHash& question) {
  return Fingerprint()
      .Text(BytesOf(question))
      .Number(record.form)
      .Number(record.rows)
      .Text(record.columns)
      .Text(record.digest)
      .Text(record.blocks)
      .Hash();
}

StoredAnswer::StoredAnswer(const AnswerRecord& record, std::vector<Block> blocks)
    : form_(FormIn(record.form)),
      rows_(RowsIn(record.rows)),
      columns_(ColumnsIn(record.columns)),
      digest_(record.digest),
      blocks_(std::move(blocks)) {
  if (form_ == AnswerForm::Digest) {
    if (blocks_.size() != 1) { throw SnapshotError("a digest is not one block"); }
    return;
  }
  const auto rows = static_cast<std::size_t>(rows_);
  const bool isPossible =
      form_ == AnswerForm::Command ? rows_ == 0 && columns_.empty() : rows_ == 0 || !columns_.empty();
  if (!isPossible || rows > kMostCells || rows * columns_.size() > kMostCells) {
    throw SnapshotError("an answer has impossible numbers of rows and columns");
  }
  if (rows_ == 0 && blocks_.empty()) { return; }
  for (const auto& block : blocks_) {
    littleendian::Cursor bytes(*block);
    while (bytes.Left() > 0) {
      if (values_.size() == columns_.size()) { throw SnapshotError("an answer has too many columns"); }
      values_.emplace_back(bytes, static_cast<std::uint32_t>(rows_));
    }
  }
  if (values_.size() != columns_.size()) { throw SnapshotError("an answer has too few columns"); }
}

std::vector<Cell> StoredAnswer::Cells() const {
  std::vector<Cell> cells(static_cast<std::size_t>(rows_) * columns_.size());
  for (std::size_t column = 0; column < values_.size(); ++column) {
    StoredColumn::Reader reader(values_[column]);
    for (std::size_t cell = column; cell < cells.size(); cell += columns_.size()) {
      cells[cell] = reader.Next();
    }
  }
  return cells;
}

StoredAnswer::RowReader::RowReader(const StoredAnswer& answer)
    : readers_(answer.values_.begin(), answer.values_.end()), cells_(readers_.size()) {}

RowView StoredAnswer::RowReader::Next() {
  for (std::size_t column = 0; column < readers_.size(); ++column) {
    cells_[column] = readers_[column].Next();
  }
  return {cells_.data(), static_cast<int>(cells_.size())};
}

}  // namespace brio::dbi::snapshot
