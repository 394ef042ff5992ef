#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/TableDefinition.h"
#include "framework/exception.h"
#include "tests/database/Fixtures.h"

namespace brio::dbi {
namespace {

using testing::HasSubstr;

std::string Complaint(const std::string& text) {
  try {
    ParseTableDefinition(text, "t.xml");
  } catch (const cet::exception& error) {
    EXPECT_EQ(error.category(), "BrioDatabase");
    return error.message();
  }
  return "none";
}

TEST(DefinitionText, GivesSchemaNameAndColumnsInOrder) {
  const auto definition = ParseTableDefinition(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- what it is -->\n"
      "<table schema=\"daq\" name=\"runs\">\n  <column name=\"run\" type=\"integer\"/>\n"
      "  <!-- <column name=\"old\" type=\"text\"/> -->\n"
      "  <column type=\"double precision\" name=\"a &amp; &quot;b&quot;\"></column>\n</table>\n",
      "t.xml");
  EXPECT_EQ(definition.file, "t.xml");
  EXPECT_EQ(definition.schema, "daq");
  EXPECT_EQ(definition.name, "runs");
  ASSERT_EQ(definition.columns.size(), 2U);
  EXPECT_EQ(definition.columns[0].Name(), "run");
  EXPECT_EQ(definition.columns[0].Type(), "integer");
  EXPECT_EQ(definition.columns[1].Name(), "a & \"b\"");
  EXPECT_EQ(definition.columns[1].Type(), "double precision");
}

TEST(DefinitionText, TheSchemaMayBeLeftOut) {
  EXPECT_EQ(ParseTableDefinition(R"(<table name="t"><column name="a" type="text"/></table>)", "").schema, "");
}

TEST(DefinitionText, KnowsTheDatabasesTypes) {
  for (const std::string type : {"integer", "bigint", "smallint", "real", "double precision", "text",
                                 "boolean", "bool", "timestamp"}) {
    const auto definition =
        ParseTableDefinition("<table name='t'><column name='a' type='" + type + "'/></table>", "");
    EXPECT_EQ(definition.columns.at(0).Type(), type);
  }
}

struct Fault {
  const char* text;
  const char* complaint;
};

class FaultyDefinition : public testing::TestWithParam<Fault> {};

TEST_P(FaultyDefinition, IsRefusedWithFileLineAndReason) {
  EXPECT_EQ(Complaint(GetParam().text), std::string("t.xml: line ") + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    DefinitionText, FaultyDefinition,
    testing::Values(
        Fault{"", "1: not a table definition: No document element found"},
        Fault{"\n<!-- nothing -->\n", "3: not a table definition: No document element found"},
        Fault{"run integer\n", "2: not a table definition: No document element found"},
        Fault{"<tables>\n</tables>", "1: not a table definition: the document is <tables>, not <table>"},
        Fault{"<!-- 1\n2\n-->\n<Table name='t'/>",
              "4: not a table definition: the document is <Table>, not <table>"},
        Fault{"<table name='t'>", "1: not a table definition: Start-end tags mismatch"},
        Fault{"<table name='t'>\n<column name='a' type='text'>\n</table>",
              "3: not a table definition: Start-end tags mismatch"},
        Fault{"<table name='t'>\n<column name='a type='text'/>\n</table>",
              "2: not a table definition: Error parsing element attribute"},
        Fault{"\n<table><column name='a' type='text'/></table>", "2: the table has no name"},
        Fault{"<table name=''><column name='a' type='text'/></table>", "1: the table has no name"},
        Fault{"\n<table name='t'></table>", "2: the table has no columns"},
        Fault{"<table name='t'>\n\n<column type='text'/></table>", "3: a column has no name"},
        Fault{"<table name='t'>\n<column name='' type='text'/></table>", "2: a column has no name"},
        Fault{"<table name='t'>\n<column name='a'/></table>", "2: column \"a\" has no type"},
        Fault{"<table name='t'>\n<column name='a' type='varchar'/></table>",
              "2: column \"a\" has the unknown type \"varchar\""},
        Fault{"<table name='t'>\n<column name='a' type='Text'/></table>",
              "2: column \"a\" has the unknown type \"Text\""},
        Fault{"<table name='t'>\n<column name='a' type='text'/>\n<column name='a' type='bool'/></table>",
              "3: column \"a\" stands twice"},
        Fault{"<table name='t'>\n<columm name='a' type='text'/></table>",
              "2: <columm> stands where only <column> may stand"},
        Fault{"<table name='t'>\n<column name='a' type='text'/>\ncolumn name='b' type='text'/></table>",
              "2: text stands where only <column> may stand"},
        Fault{"<table name='t'><column name='a' type='text'/></table>\n<table name='u'/>",
              "2: <table> stands behind the end of the table"}));

TEST(DefinitionText, HasNoMoreColumnsThanATableCanHave) {
  std::string text = "<table name='t'>";
  for (int i = 0; i < 1600; ++i) {
    text += "\n<column name='c" + std::to_string(i) + "' type='text'/>";
  }
  EXPECT_EQ(ParseTableDefinition(text + "</table>", "").columns.size(), 1600U);
  EXPECT_EQ(Complaint(text + "\n<column name='more' type='text'/></table>"),
            "t.xml: line 1602: more than 1600 columns");
}

TEST(DefinitionText, EntitiesOfADocumentTypeAreNotFollowed) {
  const test::TemporaryFolder folder;
  const std::string secret = folder.Write("secret", "integer");
  const std::string text = "<?xml version=\"1.0\"?>\n<!DOCTYPE table [<!ENTITY file SYSTEM \"file://" +
                           secret + "\">]>\n<table name='t'><column name='a' type='&file;'/></table>";
  EXPECT_EQ(Complaint(text), "t.xml: line 3: column \"a\" has the unknown type \"&file;\"");
}

TEST(DefinitionText, EntitiesThatGrowAreNotExpanded) {
  std::string text = "<!DOCTYPE table [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i < 30; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    text += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + before + before + "\">";
  }
  text += "]>\n<table name='t'><column name='&a29;' type='text'/></table>";
  EXPECT_EQ(ParseTableDefinition(text, "").columns.at(0).Name(), "&a29;");
}

TEST(DefinitionText, DeepNestingIsRefusedNotFollowed) {
  std::string text = "<table name='t'>\n";
  for (int i = 0; i < 150000; ++i) {
    text += "<a>";
  }
  EXPECT_EQ(Complaint(text), "t.xml: line 2: not a table definition: Start-end tags mismatch");
  for (int i = 0; i < 150000; ++i) {
    text += "</a>";
  }
  EXPECT_EQ(Complaint(text + "</table>"), "t.xml: line 2: <a> stands where only <column> may stand");
}

}  // namespace
}  // namespace brio::dbi
