#include "tests/faults/ProtocolMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brio::test::protocol {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

TEST(ProtocolMessages, AreBuiltByteByByte) {
  EXPECT_EQ(Int16(-1), "\xff\xff"s);
  EXPECT_EQ(Int32(0x01020304), "\1\2\3\4"s);
  EXPECT_EQ(Int32(-2), "\xff\xff\xff\xfe"s);
  EXPECT_EQ(Message('Z', "T"), "Z\0\0\0\5T"s);
  EXPECT_EQ(MessageOfLength('D', 0, "ab"), "D\0\0\0\0ab"s);
  EXPECT_EQ(BodyOf(Message('C', "SELECT 1\0"s)), "SELECT 1\0"s);
}

TEST(ProtocolMessages, AreCutOutOfAStream) {
  Splitter splitter(true);
  const std::string stream = "\0\0\0\x08user"s + Message('Q', "x\0"s) + Message('X', "");
  std::vector<std::string> messages;
  for (const char byte : stream) {
    splitter.Add(&byte, 1);
    if (auto message = splitter.Next()) { messages.push_back(*message); }
  }
  EXPECT_THAT(messages, ElementsAre("\0\0\0\x08user"s, "Q\0\0\0\6x\0"s, "X\0\0\0\4"s));
  EXPECT_EQ(splitter.Next(), std::nullopt);
}

TEST(ProtocolMessages, OfRowsComeApartAndTogether) {
  const Fields fields{"a", std::nullopt, "", std::string(300, 'x')};
  EXPECT_EQ(FieldsOf(DataRow(fields)), fields);
  EXPECT_EQ(DataRow({std::nullopt}), "D\0\0\0\x0a\0\1\xff\xff\xff\xff"s);
  const std::string behindTheName(18, '\1');
  const std::vector<std::string> columns{"run\0"s + behindTheName, "\0"s + behindTheName};
  EXPECT_EQ(ColumnsOf(RowDescription(columns)), columns);
}

TEST(ProtocolMessages, TellTheStatement) {
  EXPECT_EQ(StatementIn(Message('Q', "BEGIN\0"s)), "BEGIN");
  EXPECT_EQ(StatementIn(Message('P', "name\0SELECT 1\0\0\0"s)), "SELECT 1");
  EXPECT_EQ(StatementIn(Message('B', "\0\0"s)), "");
}

}  // namespace
}  // namespace brio::test::protocol
