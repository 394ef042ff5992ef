#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "database/Session.h"

namespace dbutils {

/// Asks the database of the detector that BRIODAQ_ENVIRONMENT names, in one statement, for the rows of a
/// configuration ($1) and a list of DCM names ($2), in binary form. Null, with the reason logged at error
/// severity, when there is no answer.
brio::dbi::ResultHandle QueryConfiguration(brio::dbi::DatabaseKind database, const char* category,
                                           const char* statement, long long configId,
                                           const std::vector<std::string>& dcmNames);

/// A value of a binary result; nothing when it is NULL.
std::optional<std::string> TextAt(const PGresult* rows, int row, int column);

/// A big-endian number of T's width.
template <class T>
T FromBigEndian(const char* bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = value << 8U | static_cast<unsigned char>(bytes[i]);
  }
  return static_cast<T>(value);
}

/// A whole number of a binary result; nothing when it is NULL or of another width.
template <class T>
std::optional<T> IntegerAt(const PGresult* rows, int row, int column) {
  if (PQgetisnull(rows, row, column) != 0 || PQgetlength(rows, row, column) != static_cast<int>(sizeof(T))) {
    return std::nullopt;
  }
  return FromBigEndian<T>(PQgetvalue(rows, row, column));
}

/// A double of a binary result; nothing when it is NULL or of another width.
inline std::optional<double> DoubleAt(const PGresult* rows, int row, int column) {
  const auto bits = IntegerAt<std::uint64_t>(rows, row, column);
  if (!bits) { return std::nullopt; }
  double value = 0.0;
  static_assert(sizeof(value) == sizeof(*bits));
  std::memcpy(&value, &*bits, sizeof(value));
  return value;
}

}  // namespace dbutils
