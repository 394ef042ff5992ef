#include "tests/faults/ProtocolMessages.h"

#include <stdexcept>

namespace brio::test::protocol {
namespace {

constexpr std::size_t kLengthBytes = 4;
constexpr std::size_t kHeaderBytes = 1 + kLengthBytes;
constexpr std::size_t kBytesBehindColumnName = 18;

long Number(const std::string& bytes, std::size_t at, std::size_t size) {
  if (at + size > bytes.size()) { throw std::out_of_range("a message that ends too early"); }
  long value = (static_cast<unsigned char>(bytes[at]) & 0x80U) != 0 ? -1 : 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = value * 256 + static_cast<unsigned char>(bytes[at + i]);
  }
  return value;
}

std::string Bytes(long value, std::size_t size) {
  std::string bytes(size, '\0');
  auto rest = static_cast<unsigned long>(value);
  for (std::size_t i = size; i > 0; --i) {
    bytes[i - 1] = static_cast<char>(rest & 0xFFU);
    rest >>= 8U;
  }
  return bytes;
}

}  // namespace

std::optional<std::string> Splitter::Next() {
  const std::size_t typeBytes = withoutType_ ? 0 : 1;
  if (buffer_.size() < typeBytes + kLengthBytes) { return std::nullopt; }
  const auto size = typeBytes + static_cast<std::size_t>(Number(buffer_, typeBytes, kLengthBytes));
  if (buffer_.size() < size) { return std::nullopt; }
  std::string message = buffer_.substr(0, size);
  buffer_.erase(0, size);
  withoutType_ = false;
  return message;
}

std::string Int16(int value) { return Bytes(value, 2); }

std::string Int32(long value) { return Bytes(value, kLengthBytes); }

std::string Message(char type, const std::string& body) {
  return MessageOfLength(type, static_cast<long>(kLengthBytes + body.size()), body);
}

std::string MessageOfLength(char type, long length, const std::string& body) {
  return type + Int32(length) + body;
}

std::string BodyOf(const std::string& message) { return message.substr(kHeaderBytes); }

std::vector<std::string> ColumnsOf(const std::string& rowDescription) {
  const std::string body = BodyOf(rowDescription);
  std::vector<std::string> columns(static_cast<std::size_t>(Number(body, 0, 2)));
  std::size_t at = 2;
  for (auto& column : columns) {
    const std::size_t end = body.find('\0', at) + 1 + kBytesBehindColumnName;
    column = body.substr(at, end - at);
    at = end;
  }
  return columns;
}

std::string RowDescription(const std::vector<std::string>& columns) {
  std::string body = Int16(static_cast<int>(columns.size()));
  for (const auto& column : columns) {
    body += column;
  }
  return Message('T', body);
}

Fields FieldsOf(const std::string& dataRow) {
  const std::string body = BodyOf(dataRow);
  Fields fields(static_cast<std::size_t>(Number(body, 0, 2)));
  std::size_t at = 2;
  for (auto& field : fields) {
    const long length = Number(body, at, kLengthBytes);
    at += kLengthBytes;
    if (length < 0) { continue; }
    field = body.substr(at, static_cast<std::size_t>(length));
    at += static_cast<std::size_t>(length);
  }
  return fields;
}

std::string DataRow(const Fields& fields) {
  std::string body = Int16(static_cast<int>(fields.size()));
  for (const auto& field : fields) {
    body += field ? Int32(static_cast<long>(field->size())) + *field : Int32(-1);
  }
  return Message('D', body);
}

std::string StatementIn(const std::string& message) {
  if (message[0] == 'Q') { return message.c_str() + kHeaderBytes; }
  if (message[0] != 'P') { return {}; }
  const std::size_t nameEnd = message.find('\0', kHeaderBytes);
  return message.c_str() + nameEnd + 1;
}

}  // namespace brio::test::protocol
