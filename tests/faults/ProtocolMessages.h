#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brio::test::protocol {

// Messages of PostgreSQL's protocol, version 3, as the bytes that cross the wire: one byte for the type, four
// for a length that counts itself but not the type, a body. The first message of a client has no type.

/// Cuts a stream of bytes into messages.
class Splitter {
public:
  /// \param beginsWithoutType  true for what a client sends
  explicit Splitter(bool beginsWithoutType) : withoutType_(beginsWithoutType) {}

  void Add(const char* bytes, std::size_t count) { buffer_.append(bytes, count); }
  /// The next message that is there as a whole.
  std::optional<std::string> Next();

private:
  std::string buffer_;
  bool withoutType_;
};

std::string Int16(int value);
std::string Int32(long value);
std::string Message(char type, const std::string& body);
/// A message whose length says something else than how long it is.
std::string MessageOfLength(char type, long length, const std::string& body);
std::string BodyOf(const std::string& message);

/// The columns of a RowDescription, each with its name, and a RowDescription of such columns.
std::vector<std::string> ColumnsOf(const std::string& rowDescription);
std::string RowDescription(const std::vector<std::string>& columns);

/// The fields of a DataRow, nothing for NULL, and a DataRow of such fields.
using Fields = std::vector<std::optional<std::string>>;
Fields FieldsOf(const std::string& dataRow);
std::string DataRow(const Fields& fields);

/// The text of the statement in a client's Parse or Query; empty for other messages.
std::string StatementIn(const std::string& message);

}  // namespace brio::test::protocol
