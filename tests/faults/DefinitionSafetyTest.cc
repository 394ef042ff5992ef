// A definition file from elsewhere can neither pull in another file nor take the process's memory or time.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

#include <gmock/gmock.h>

#include "database/Column.h"
#include "database/TableDefinition.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

using testing::HasSubstr;

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

/// What reading says; nothing when it succeeds.
std::string Complaint(const std::string& text) {
  try {
    ParseTableDefinition(text, "some.xml");
    return {};
  } catch (const cet::exception& error) { return error.message(); }
}

TEST(DefinitionSafety, EntitiesAreNotExpandedAndFilesNotPulledIn) {
  const std::string file = testing::TempDir() + "brio-entity.txt";
  std::ofstream(file) << "PULLED-IN";
  const auto definition = ParseTableDefinition(
      "<!DOCTYPE table SYSTEM \"file://" + file + "\" [<!ENTITY x SYSTEM \"file://" + file +
          "\"><!ENTITY y \"expanded\"><!ENTITY % z SYSTEM \"file://" + file + "\"> %z;]>" +
          "<table schema=\"&x;\" name=\"t&y;\"><column name=\"c&x;\" type=\"text\"/></table>",
      "some.xml");
  EXPECT_EQ(definition.schema, "&x;");
  EXPECT_EQ(definition.name, "t&y;");
  ASSERT_EQ(definition.columns.size(), 1U);
  EXPECT_EQ(definition.columns[0].Name(), "c&x;");
  std::remove(file.c_str());
}

TEST(DefinitionSafety, NestedEntitiesDoNotGrow) {
  std::string document = "<!DOCTYPE t [<!ENTITY a0 \"" + std::string(100, 'x') + "\">";
  for (int i = 1; i < 30; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    document += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + "\">";
  }
  const auto definition = ParseTableDefinition(
      document + "]><table name=\"&a29;\"><column name=\"c\" type=\"text\"/></table>", "");
  EXPECT_EQ(definition.name, "&a29;");
}

TEST(DefinitionSafety, DepthTakesNoStack) {
  const int depth = 150000;  // about a megabyte
  EXPECT_THAT(Complaint(Repeated("<a>", depth) + Repeated("</a>", depth)), HasSubstr("not <table>"));
  EXPECT_THAT(Complaint("<table name=\"t\"><column name=\"c\" type=\"text\">" + Repeated("<a>", depth)),
              HasSubstr("not a table definition"));
}

TEST(DefinitionSafety, MoreColumnsThanATableCanHaveAreRefusedAtOnce) {
  std::string columns;
  for (int i = 0; i < 30000; ++i) {
    columns += "<column name=\"c" + std::to_string(i) + "\" type=\"text\"/>";
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THAT(Complaint("<table name=\"t\">\n" + columns + "</table>"),
              HasSubstr("line 2: more than 1600 columns"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(Complaint("<table name=\"t\">" + columns.substr(0, columns.find("<column name=\"c1600\"")) +
                      "</table>"),
            "");
}

TEST(DefinitionSafety, AFileOfAnySizeIsRefusedBeforeItIsRead) {
  const std::string file = testing::TempDir() + "brio-large.xml";
  std::ofstream(file) << "<table";
  ASSERT_EQ(truncate(file.c_str(), 1L << 40), 0);  // a terabyte with nothing in it
  try {
    ReadTableDefinition(file);
    FAIL();
  } catch (const cet::exception& error) {
    EXPECT_THAT(error.message(), HasSubstr("too large for a table definition (1099511627776 bytes"));
  }
  std::remove(file.c_str());
}

// Found by fuzzing: the conversion to short multiplied before it looked whether a character is a digit.
TEST(DefinitionSafety, ShortsOfTextsThatAreNoNumbersDoNotOverflow) {
  for (const char* text : {"\xf5\xf5\xf5\xf5\xf5\xf5\xf5"
                           "40000",
                           " 140000", "x32768", "40000", "-32769"}) {
    short value = 7;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Column(text).Get(value));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("Column::Get(): Bad_lexical_cast! Value = ") + text + "\n");
    EXPECT_EQ(value, 7);
  }
  short value = 0;
  EXPECT_TRUE(Column("-32768").Get(value));
  EXPECT_EQ(value, -32768);
  EXPECT_TRUE(Column("+32767").Get(value));
  EXPECT_EQ(value, 32767);
}

}  // namespace
}  // namespace brio::dbi
