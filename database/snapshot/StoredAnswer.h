#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "database/RowView.h"
#include "database/snapshot/ContentHash.h"
#include "database/snapshot/ResultColumn.h"
#include "database/snapshot/SnapshotSchema.h"
#include "database/snapshot/StoredColumn.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// The decompressed bytes of one block.
using Block = std::shared_ptr<const std::string>;

/// What the table of answers says of one.
struct AnswerRecord {
  std::int64_t id = 0;
  std::int64_t question = 0;
  std::int64_t form = 0;
  std::int64_t rows = 0;  ///< as the server gave
  std::string columns;
  std::string digest;  ///< its name
  std::string blocks;  ///< their hashes
};

/// What stands in the table's column of hashes.
BRIO_EXPORT_PRIVATE ContentHash HashOf(const AnswerRecord& record, const ContentHash& question);

/// An answer that was found whole. Its rows are read where they lie in their blocks; nothing of it changes.
class BRIO_EXPORT StoredAnswer {
public:
  /// \throws SnapshotError when the blocks do not hold what the record says
  StoredAnswer(const AnswerRecord& record, std::vector<Block> blocks);

  AnswerForm Form() const { return form_; }
  int Rows() const { return rows_; }
  const std::vector<ResultColumn>& Columns() const { return columns_; }
  /// Of an answer in the form of a digest.
  const std::string& DigestName() const { return digest_; }
  std::string_view Digest() const { return *blocks_.front(); }

  /// All rows, behind one another; they point into the answer.
  std::vector<Cell> Cells() const;

  /// Gives one row after the other, for Rows() times.
  class RowReader {
  public:
    explicit RowReader(const StoredAnswer& answer);
    RowView Next();

  private:
    std::vector<StoredColumn::Reader> readers_;
    std::vector<Cell> cells_;
  };

private:
  AnswerForm form_;
  int rows_ = 0;
  std::vector<ResultColumn> columns_;
  std::string digest_;
  std::vector<Block> blocks_;
  std::vector<StoredColumn> values_;
};

}  // namespace brio::dbi::snapshot
