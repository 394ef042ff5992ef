#include "python/module/Columns.h"

#include <algorithm>
#include <cstring>

#include "arrays/Status.h"
#include "python/module/Text.h"

namespace brio::python {
namespace {

namespace py = pybind11;

constexpr std::size_t kCharacter = sizeof(Py_UCS4);
constexpr std::size_t kAlignment = 8;

bool IsPlain(char character) { return static_cast<unsigned char>(character) < 0x80; }

/// Writes a text as numpy holds it to a place that was filled with zeros.
void Put(const std::string& text, char* place) {
  if (std::all_of(text.begin(), text.end(), IsPlain)) {
    for (const char character : text) {
      const Py_UCS4 wide = static_cast<unsigned char>(character);
      std::memcpy(place, &wide, kCharacter);
      place += kCharacter;
    }
    return;
  }
  // No character has less than a byte, so that decoded it is not longer.
  const py::str decoded = Text(text);
  std::vector<Py_UCS4> wide(text.size() + 1);
  if (PyUnicode_AsUCS4(decoded.ptr(), wide.data(), static_cast<Py_ssize_t>(wide.size()), 0) == nullptr) {
    throw py::error_already_set();
  }
  const auto length = static_cast<std::size_t>(PyUnicode_GetLength(decoded.ptr()));
  std::memcpy(place, wide.data(), kCharacter * length);
}

}  // namespace

py::dtype TypeOf(const std::vector<Column>& columns, std::size_t size) {
  py::list names;
  py::list formats;
  py::list offsets;
  for (const auto& column : columns) {
    names.append(column.name);
    formats.append(column.format);
    offsets.append(column.offset);
  }
  return {names, formats, offsets, static_cast<py::ssize_t>(size)};
}

std::vector<char> MissingOf(const void* records, std::size_t count, std::size_t size,
                            const std::vector<Column>& columns) {
  std::vector<char> missing(count * columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].status == Column::kAlwaysThere) { continue; }
    const char* status = static_cast<const char*>(records) + columns[i].status;
    char* flag = missing.data() + i;
    for (std::size_t record = 0; record < count; ++record) {
      *flag = static_cast<char>(*status != static_cast<char>(arrays::Status::Known));
      status += size;
      flag += columns.size();
    }
  }
  return missing;
}

py::array MissingArray(std::vector<char> missing, const std::vector<Column>& columns) {
  std::vector<Column> flags;
  flags.reserve(columns.size());
  for (const auto& column : columns) {
    flags.push_back({column.name, "?", flags.size()});
  }
  const auto count = static_cast<py::ssize_t>(columns.empty() ? 0 : missing.size() / columns.size());
  return Owned(std::move(missing), TypeOf(flags, flags.size()), count);
}

void TextColumns::Add(Column column, std::size_t leastLength, std::vector<std::string> texts) {
  Texts& added = texts_.emplace_back();
  added.column = std::move(column);
  added.length = leastLength;
  added.texts = std::move(texts);
  for (const auto& text : added.texts) {
    added.length = std::max(added.length, text.size());
  }
  added.column.format = "U" + std::to_string(added.length);
}

Table TextColumns::Build(const void* records, std::size_t count, std::size_t size,
                         std::vector<Column> columns) const {
  std::size_t newSize = size;
  for (const auto& texts : texts_) {
    columns.push_back(texts.column);
    columns.back().offset = newSize;
    newSize += kCharacter * texts.length;
  }
  newSize = (newSize + kAlignment - 1) / kAlignment * kAlignment;
  std::vector<char> bytes(count * newSize);
  for (std::size_t i = 0; i < count; ++i) {
    std::memcpy(bytes.data() + i * newSize, static_cast<const char*>(records) + i * size, size);
    std::size_t offset = size;
    for (const auto& texts : texts_) {
      Put(texts.texts[i], bytes.data() + i * newSize + offset);
      offset += kCharacter * texts.length;
    }
  }
  auto missing = MissingOf(bytes.data(), count, newSize, columns);
  auto data = Owned(std::move(bytes), TypeOf(columns, newSize), static_cast<py::ssize_t>(count));
  return {std::move(data), MissingArray(std::move(missing), columns)};
}

}  // namespace brio::python
