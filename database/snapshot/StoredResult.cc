#include "database/snapshot/StoredResult.h"

#include <new>
#include <vector>

namespace brio::dbi::snapshot {

ResultHandle ResultWithoutRows(const StoredAnswer& answer) {
  if (answer.Form() == AnswerForm::Command) {
    return ResultHandle(PQmakeEmptyPGresult(nullptr, PGRES_COMMAND_OK));
  }
  ResultHandle result(PQmakeEmptyPGresult(nullptr, PGRES_TUPLES_OK));
  // libpq copies the names.
  std::vector<std::string> names;
  for (const auto& column : answer.Columns()) {
    names.push_back(column.name);
  }
  std::vector<PGresAttDesc> columns;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto& column = answer.Columns()[i];
    columns.push_back({names[i].data(), column.table, column.tableColumn, column.format, column.type,
                       column.size, column.modifier});
  }
  const bool isMade =
      result && (columns.empty() ||
                 PQsetResultAttrs(result.get(), static_cast<int>(columns.size()), columns.data()) != 0);
  if (!isMade) { throw std::bad_alloc(); }
  return result;
}

ResultHandle ResultWithRows(const StoredAnswer& answer) {
  ResultHandle result = ResultWithoutRows(answer);
  StoredAnswer::RowReader rows(answer);
  std::string text;  // libpq copies it, but takes it as changeable
  for (int row = 0; row < answer.Rows(); ++row) {
    const RowView values = rows.Next();
    for (int column = 0; column < values.Columns(); ++column) {
      const bool isNull = values.IsNull(column);
      text.assign(values.Text(column), static_cast<std::size_t>(values.Length(column)));
      if (PQsetvalue(result.get(), row, column, isNull ? nullptr : text.data(),
                     isNull ? -1 : values.Length(column)) == 0) {
        throw std::bad_alloc();
      }
    }
  }
  return result;
}

}  // namespace brio::dbi::snapshot
