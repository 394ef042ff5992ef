// The bytes of an answer that a snapshot holds: rows that can all be read, or an error. And of a gains
// digest.
#include <algorithm>

#include "RunHistory/GainsDigest.h"
#include "database/snapshot/SnapshotError.h"
#include "database/snapshot/StoredAnswer.h"
#include "tests/fuzz/Fuzz.h"

namespace {

using namespace brio::dbi::snapshot;

void ReadAll(const StoredAnswer& answer) {
  const auto cells = answer.Cells();
  StoredAnswer::RowReader rows(answer);
  std::size_t at = 0;
  for (int row = 0; row < answer.Rows(); ++row) {
    const auto values = rows.Next();
    for (int column = 0; column < values.Columns(); ++column, ++at) {
      const auto length = static_cast<std::size_t>(values.Length(column));
      brio::fuzz::Require(values.Text(column)[length] == '\0', "a value ends with a zero byte");
      brio::fuzz::Require(cells[at].text == nullptr || cells[at].text == values.Text(column),
                          "both ways of reading find the same");
    }
  }
}

}  // namespace

/// Three bytes say the form, the rows and how many columns there are; the rest is cut into two blocks.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto gains = brio::dbi::GainsFrom(brio::fuzz::Text(data, size));
  if (gains) {
    brio::fuzz::Require(brio::dbi::GainsFrom(brio::dbi::GainsBytes(*gains)).has_value(),
                        "what was read can be read again");
  }
  if (size < 4) { return 0; }
  AnswerRecord record;
  record.form = data[0] % 4;
  record.rows = data[1];
  record.columns = data[2] < 8 ? EncodedColumns(std::vector<ResultColumn>(data[2]))
                               : brio::fuzz::Text(data + 4, std::min<std::size_t>(size - 4, data[2]));
  const std::size_t cut = 4 + data[3] % (size - 3);
  std::vector<Block> blocks{std::make_shared<const std::string>(brio::fuzz::Text(data + 4, cut - 4)),
                            std::make_shared<const std::string>(brio::fuzz::Text(data + cut, size - cut))};
  if (record.form == 2) { blocks.pop_back(); }
  try {
    const StoredAnswer answer(record, blocks);
    if (answer.Form() == AnswerForm::Rows) { ReadAll(answer); }
  } catch (const SnapshotError&) {  // that is what it is for
  }
  return 0;
}
