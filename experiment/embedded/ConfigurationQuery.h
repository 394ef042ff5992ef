#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "database/Session.h"

namespace dbutils {

/// Asks the database of the detector that BRIODAQ_ENVIRONMENT names, in one statement, for all rows of a
/// configuration ($1), in binary form. Whoever asks takes the DCMs it needs, so that the statement is the
/// same for every set of them. Nothing, with the reason logged at error severity, when there is no answer.
/// \param columns  how many the rows must have
std::optional<brio::dbi::Rows> QueryConfiguration(brio::dbi::DatabaseKind database, const char* category,
                                                  const char* statement, int columns, long long configId);

/// A text; empty when it is NULL.
inline std::string_view TextAt(const brio::dbi::RowView& row, int column) {
  return {row.Text(column), static_cast<std::size_t>(row.Length(column))};
}

/// A big-endian number of T's width.
template <class T>
T FromBigEndian(const char* bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    value = value << 8U | static_cast<unsigned char>(bytes[i]);
  }
  return static_cast<T>(value);
}

/// A whole number of a binary row; nothing when it is NULL or of another width.
template <class T>
std::optional<T> IntegerAt(const brio::dbi::RowView& row, int column) {
  if (row.Length(column) != static_cast<int>(sizeof(T))) { return std::nullopt; }
  return FromBigEndian<T>(row.Text(column));
}

/// A double of a binary row; nothing when it is NULL or of another width.
inline std::optional<double> DoubleAt(const brio::dbi::RowView& row, int column) {
  const auto bits = IntegerAt<std::uint64_t>(row, column);
  if (!bits) { return std::nullopt; }
  double value = 0.0;
  static_assert(sizeof(value) == sizeof(*bits));
  std::memcpy(&value, &*bits, sizeof(value));
  return value;
}

}  // namespace dbutils
