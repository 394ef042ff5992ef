#include "database/ResultStatus.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace brio::dbi {

bool IsGood(const PGresult* result) {
  const auto status = PQresultStatus(result);
  return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY;
}

bool IsCopy(const PGresult* result) {
  const auto status = PQresultStatus(result);
  return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
}

bool IsInterruption(const PGresult* result) {
  const char* code = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  if (code == nullptr) { return false; }
  constexpr std::array kCodes{"40001", "40P01", "57P01", "57P02"};
  return std::any_of(kCodes.begin(), kCodes.end(),
                     [&](const char* known) { return std::strcmp(code, known) == 0; });
}

bool HasColumns(const PGresult* result, int columns) {
  const auto status = PQresultStatus(result);
  const bool hasRows = status == PGRES_TUPLES_OK || status == PGRES_SINGLE_TUPLE;
  return columns == 0 || !hasRows || PQnfields(result) == columns;
}

ResultHandle FatalResult() { return ResultHandle(PQmakeEmptyPGresult(nullptr, PGRES_FATAL_ERROR)); }

}  // namespace brio::dbi
