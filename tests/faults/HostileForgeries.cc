// Answers of a server, or of something in between, that is broken or lies.
#include "tests/faults/HostileTrials.h"
#include "tests/faults/ProtocolMessages.h"

namespace brio::test::trials {
namespace {

using namespace std::string_literals;
using namespace protocol;

using Columns = std::vector<std::string>;

Forgery Made(char type, const char* name, Then then,
             std::function<std::string(const std::string& message, bool first)> forge) {
  Trial trial;
  trial.name = name;
  trial.attack.forge = std::move(forge);
  trial.then = then;
  return {type, trial};
}

/// Something else in place of the first message.
Forgery InPlace(char type, const char* name, Then then, const std::string& other) {
  return Made(type, name, then,
              [other](const std::string& message, bool first) { return first ? other : message; });
}

/// Something in front of the first message.
Forgery InFront(char type, const char* name, Then then, const std::string& other) {
  return Made(type, name, then,
              [other](const std::string& message, bool first) { return first ? other + message : message; });
}

/// The same for one that leaves the client waiting.
Forgery Waiting(Forgery forgery) {
  forgery.trial.waits = true;
  return forgery;
}

/// The description changed, and each row.
Forgery Answer(const char* name, std::function<void(Columns&)> change,
               std::function<void(Fields&)> changeRow) {
  return Made(
      'T', name, Then::SomethingLost,
      [change = std::move(change), changeRow = std::move(changeRow)](const std::string& message, bool) {
        if (message[0] == 'T' && change) {
          auto columns = ColumnsOf(message);
          change(columns);
          return RowDescription(columns);
        }
        if (message[0] == 'D' && changeRow) {
          auto fields = FieldsOf(message);
          changeRow(fields);
          return DataRow(fields);
        }
        return message;
      });
}

/// Every value changed.
Forgery Values(const char* name, std::function<std::optional<std::string>(const std::string&)> change) {
  return Made('D', name, Then::Whatever, [change = std::move(change)](const std::string& message, bool) {
    if (message[0] != 'D') { return message; }
    auto fields = FieldsOf(message);
    for (auto& field : fields) {
      field = change(field.value_or(""));
    }
    return DataRow(fields);
  });
}

const auto kLessColumns = [](Columns& columns) { columns.pop_back(); };
const auto kMoreColumns = [](Columns& columns) { columns.push_back(columns.back()); };
const auto kNoColumns = [](Columns& columns) { columns.clear(); };
const auto kLessFields = [](Fields& fields) { fields.pop_back(); };
const auto kMoreFields = [](Fields& fields) { fields.emplace_back("1"); };
const auto kNoFields = [](Fields& fields) { fields.clear(); };

/// The first row with its first field said to be of another length.
Forgery FieldLength(const char* name, Then then, long length) {
  return Made('D', name, then, [length](const std::string& message, bool first) {
    constexpr std::size_t kFirstLength = 7;
    std::string forged = message;
    if (first) { forged.replace(kFirstLength, 4, Int32(length)); }
    return forged;
  });
}

/// The message with another length than it has.
Forgery Length(char type, const char* name, Then then, long length) {
  return Made(type, name, then, [type, length](const std::string& message, bool first) {
    return first ? MessageOfLength(type, length, BodyOf(message)) : message;
  });
}

/// The message without its last bytes, in good form otherwise.
Forgery CutShort(char type, const char* name, Then then) {
  return Made(type, name, then, [type](const std::string& message, bool first) {
    const std::string body = BodyOf(message);
    return first ? Message(type, body.substr(0, body.size() / 2)) : message;
  });
}

constexpr long kLongest = 0x7FFFFFFF;
const std::string kErrorWithoutFields = Message('E', "\0"s);

}  // namespace

std::vector<Forgery> ForgedColumns() {
  return {Answer("a column less", kLessColumns, kLessFields),
          Answer("a column more", kMoreColumns, kMoreFields),
          Answer("no columns", kNoColumns, kNoFields),
          Answer("a column less than the rows", kLessColumns, {}),
          Answer("a column more than the rows", kMoreColumns, {}),
          Answer("rows without columns", {}, kNoFields)};
}

std::vector<Forgery> ForgedAnswers() {
  const std::string copyOut = Message('H', "\0\0\0"s);
  return {
      CutShort('T', "description cut short", Then::SomethingLost),
      Length('T', "description of length 0", Then::SomethingLost, 0),
      Length('T', "description of length -1", Then::SomethingLost, -1),
      Waiting(Length('T', "description of 2 GB", Then::SomethingLost, kLongest)),
      InPlace('T', "32767 columns and none there", Then::SomethingLost, Message('T', Int16(32767))),
      InPlace('T', "-1 columns", Then::Consistent, Message('T', Int16(-1))),
      InPlace('T', "no description", Then::SomethingLost, ""),
      InPlace('T', "NoData", Then::SomethingLost, Message('n', "")),
      InPlace('T', "CopyOut", Then::SomethingLost, copyOut),
      InPlace('T', "CopyIn", Then::SomethingLost, Message('G', "\0\0\0"s)),
      InPlace('T', "CopyBoth", Then::SomethingLost, Message('W', "\0\0\0"s)),
      InPlace('T', "an error without fields", Then::SomethingLost, kErrorWithoutFields),
      InPlace('T', "an error cut short", Then::SomethingLost, Message('E', "SERROR\0Mno en"s)),
      InFront('T', "a type that there is not", Then::SomethingLost, Message('?', "")),
      InFront('T', "a page of the web", Then::SomethingLost, "HTTP/1.1 400 Bad Request\r\n\r\n"),
      Made('T', "description twice", Then::Consistent,
           [](const std::string& message, bool first) { return first ? message + message : message; }),
      Made('D', "a row with a field less", Then::SomethingLost,
           [](const std::string& message, bool first) {
             auto fields = first ? FieldsOf(message) : Fields();
             if (first) { fields.pop_back(); }
             return first ? DataRow(fields) : message;
           }),
      Made('D', "a row with a field more", Then::SomethingLost,
           [](const std::string& message, bool first) {
             auto fields = first ? FieldsOf(message) : Fields();
             fields.emplace_back("1");
             return first ? DataRow(fields) : message;
           }),
      CutShort('D', "row cut short", Then::SomethingLost),
      Length('D', "row of length 0", Then::SomethingLost, 0),
      Waiting(Length('D', "row of 2 GB", Then::SomethingLost, kLongest)),
      FieldLength("field beyond its row", Then::SomethingLost, 100000),
      FieldLength("field of 2 GB", Then::SomethingLost, kLongest),
      InPlace('D', "CopyOut after a row", Then::SomethingLost, copyOut),
      InPlace('D', "error among the rows", Then::SomethingLost, kErrorWithoutFields),
      InFront('D', "ready before the rows", Then::SomethingLost, Message('Z', "T")),
      InPlace('C', "complete in strange words", Then::NothingLost, Message('C', "\1\2 SELECT -1 \xff\0"s)),
      InPlace('C', "complete without words", Then::NothingLost, Message('C', "\0"s)),
      InPlace('C', "complete without an end", Then::Consistent, Message('C', "SELECT 1")),
      InPlace('C', "not complete", Then::Consistent, ""),
      InFront('C', "complete twice", Then::Consistent, Message('C', "SELECT 1\0"s)),
      InFront('C', "empty and complete", Then::Consistent, Message('I', "")),
      InPlace('C', "suspended", Then::SomethingLost, Message('s', "")),
      InFront('C', "ready before it is complete", Then::SomethingLost, Message('Z', "T")),
      InFront('Z', "ready twice", Then::Consistent, Message('Z', "T")),
      InPlace('Z', "ready in a state that there is not", Then::Consistent, Message('Z', "?")),
      InPlace('Z', "ready in a failed transaction", Then::Consistent, Message('Z', "E")),
      InPlace('Z', "ready outside a transaction", Then::Consistent, Message('Z', "I")),
      Waiting(InPlace('Z', "ready without a state", Then::SomethingLost, Message('Z', ""))),
      InFront('1', "parsed twice", Then::Consistent, Message('1', "")),
      InPlace('2', "not bound", Then::Consistent, ""),
      InFront('T', "a notice of a megabyte", Then::NothingLost,
              Message('N', "SNOTICE\0C00000\0M"s + std::string(1 << 20, 'x') + "\0\0"s)),
      InFront('D', "a notice without fields", Then::NothingLost, Message('N', "\0"s)),
      InFront('D', "a setting without a value", Then::Consistent, Message('S', "application_name\0"s)),
      InFront('D', "another encoding", Then::Consistent, Message('S', "client_encoding\0SJIS\0"s)),
      InFront('T', "an encoding that there is not", Then::Consistent,
              Message('S', "client_encoding\0klingon\0"s)),
      InFront('T', "a version that there is not", Then::Consistent, Message('S', "server_version\0zero\0"s)),
      InFront('D', "a notification cut short", Then::Consistent, Message('A', "\0\0"s)),
  };
}

std::vector<Forgery> ForgedStarts() {
  const auto authentication = [](long kind, const std::string& rest = {}) {
    return Message('R', Int32(kind) + rest);
  };
  return {
      InPlace('R', "an error without fields", Then::SomethingLost, kErrorWithoutFields),
      InPlace('R', "an error of old", Then::SomethingLost, "EFATAL:  go away\n\0"s),
      InPlace('R', "a password is wanted", Then::SomethingLost, authentication(3)),
      InPlace('R', "a hashed password is wanted", Then::SomethingLost, authentication(5, "salt")),
      InPlace('R', "a hashed password, salt missing", Then::SomethingLost, authentication(5)),
      InPlace('R', "Kerberos is wanted", Then::SomethingLost, authentication(2)),
      InPlace('R', "GSSAPI is wanted", Then::SomethingLost, authentication(7)),
      InPlace('R', "SSPI is wanted", Then::SomethingLost, authentication(9)),
      InPlace('R', "SASL in an unknown way", Then::SomethingLost, authentication(10, "X-WAY\0\0"s)),
      InPlace('R', "SASL in no way", Then::SomethingLost, authentication(10, "\0"s)),
      InPlace('R', "SASL goes on", Then::SomethingLost, authentication(11, "r=1,s=2,i=1")),
      InPlace('R', "SASL ends", Then::SomethingLost, authentication(12, "v=1")),
      InPlace('R', "authentication in an unknown way", Then::SomethingLost, authentication(99)),
      InPlace('R', "authentication cut short", Then::SomethingLost, Message('R', "\0"s)),
      InPlace('R', "authentication of 1 GB", Then::SomethingLost,
              MessageOfLength('R', 1L << 30, "\0\0\0\0"s)),
      InPlace('R', "ready without authentication", Then::SomethingLost, Message('Z', "I")),
      InPlace('R', "a page of the web", Then::SomethingLost, "HTTP/1.1 400 Bad Request\r\n\r\n"),
      InPlace('K', "key data cut short", Then::SomethingLost, Message('K', "\0\0"s)),
      InPlace('K', "no key data", Then::Consistent, ""),
      InFront('S', "a notice of a megabyte", Then::Consistent,
              Message('N', "SNOTICE\0C00000\0M"s + std::string(1 << 20, 'x') + "\0\0"s)),
      InFront('S', "a row", Then::Consistent, DataRow({std::string("1")})),
      InFront('S', "a setting without a value", Then::Consistent, Message('S', "application_name\0"s)),
      InFront('Z', "an encoding that there is not", Then::Consistent,
              Message('S', "client_encoding\0klingon\0"s)),
      InFront('Z', "a setting of a megabyte", Then::Consistent,
              Message('S', "application_name\0"s + std::string(1 << 20, 'x') + "\0"s)),
      InPlace('Z', "an error at the end", Then::SomethingLost, kErrorWithoutFields),
      InPlace('Z', "ready in a failed transaction", Then::Consistent, Message('Z', "E")),
  };
}

std::vector<Forgery> ForgedValues() {
  return {
      Values("values empty", [](const std::string&) { return std::string(); }),
      Values("values NULL", [](const std::string&) { return std::nullopt; }),
      Values("values cut in half",
             [](const std::string& value) { return value.substr(0, value.size() / 2); }),
      Values("values ten times over",
             [](std::string value) {
               for (int i = 0; i < 9; ++i) {
                 value += value.substr(0, value.size() / static_cast<std::size_t>(i + 1));
               }
               return value;
             }),
      Values("values with a zero byte", [](const std::string& value) { return "\0"s + value; }),
      Values("values of noise", [](const std::string& value) { return std::string(value.size(), '\xfe'); }),
      Values("values of 100,000 digits", [](const std::string&) { return std::string(100000, '9'); }),
      FieldLength("field of length -2", Then::Consistent, -2),
      Made('D', "no rows", Then::Whatever,
           [](const std::string& message, bool) { return message[0] == 'D' ? "" : message; }),
      Made('D', "rows a thousand times over", Then::Whatever,
           [](const std::string& message, bool) {
             std::string repeated = message;
             for (int i = 1; i < 1000 && message[0] == 'D'; ++i) {
               repeated += message;
             }
             return repeated;
           }),
      Made('T', "columns under other names", Then::Whatever,
           [](const std::string& message, bool first) {
             auto columns = first ? ColumnsOf(message) : Columns();
             for (auto& column : columns) {
               column = "x" + column;
             }
             return first ? RowDescription(columns) : message;
           }),
      Made('T', "the other format", Then::Whatever,
           [](const std::string& message, bool first) {
             auto columns = first ? ColumnsOf(message) : Columns();
             for (auto& column : columns) {
               column.back() = column.back() == '\1' ? '\0' : '\1';
             }
             return first ? RowDescription(columns) : message;
           }),
  };
}

}  // namespace brio::test::trials
