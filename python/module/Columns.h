#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace brio::python {

/// A member of a plain record that is a column of an array.
struct Column {
  static constexpr std::size_t kAlwaysThere = static_cast<std::size_t>(-1);

  std::string name;
  std::string format;  ///< numpy's: "u1", "f4", …
  std::size_t offset = 0;
  /// Where the record has the member's arrays::Status, which tells whether the value is missing.
  std::size_t status = kAlwaysThere;
};

/// An array of records, and which of their values are missing: an array of the same shape with a truth value
/// (one byte) for every column. Nobody can write to either.
struct Table {
  pybind11::array data;
  pybind11::array missing;
};

/// \param size  of a record, in bytes
pybind11::dtype TypeOf(const std::vector<Column>& columns, std::size_t size);

/// A byte for every column of every record: 1 where the value is missing.
std::vector<char> MissingOf(const void* records, std::size_t count, std::size_t size,
                            const std::vector<Column>& columns);

/// A vector as an array that nobody can write to; nothing is copied: the array owns the vector. With the
/// interpreter's lock.
template <class T>
pybind11::array Owned(std::vector<T> values, const pybind11::dtype& type, pybind11::ssize_t count) {
  auto* const owner = new std::vector<T>(std::move(values));
  const pybind11::capsule deleter(owner, [](void* vector) { delete static_cast<std::vector<T>*>(vector); });
  pybind11::array array(type, {count}, owner->data(), deleter);
  pybind11::detail::array_proxy(array.ptr())->flags &= ~pybind11::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return array;
}

/// The truth values of MissingOf as an array. With the interpreter's lock.
pybind11::array MissingArray(std::vector<char> missing, const std::vector<Column>& columns);

/// Records as a table, without copying them. With the interpreter's lock.
template <class Record>
Table TableOf(std::vector<Record> records, std::vector<char> missing, const std::vector<Column>& columns) {
  const auto count = static_cast<pybind11::ssize_t>(records.size());
  return {Owned(std::move(records), TypeOf(columns, sizeof(Record)), count),
          MissingArray(std::move(missing), columns)};
}

/// The same with columns of texts behind the records' own, for which the records are copied.
class TextColumns {
public:
  /// A column whose texts have room for at least so many characters, so that it has one type for all short
  /// ones.
  void Add(Column column, std::size_t leastLength, std::vector<std::string> texts);

  /// With the interpreter's lock.
  template <class Record>
  Table TableOf(const std::vector<Record>& records, std::vector<Column> columns) const {
    return Build(records.data(), records.size(), sizeof(Record), std::move(columns));
  }

private:
  struct Texts {
    Column column;
    std::size_t length = 0;  ///< of the longest, or the least
    std::vector<std::string> texts;
  };

  Table Build(const void* records, std::size_t count, std::size_t size, std::vector<Column> columns) const;

  std::vector<Texts> texts_;
};

}  // namespace brio::python
