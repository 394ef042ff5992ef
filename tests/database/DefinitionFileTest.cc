#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/SearchPath.h"
#include "database/Table.h"
#include "database/TableDefinition.h"
#include "framework/exception.h"
#include "tests/database/Fixtures.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using test::CurrentFolder;
using test::EnvironmentVariable;
using test::TemporaryFolder;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string TableNamed(const std::string& name) {
  return "<table name='" + name + "'><column name='a' type='text'/></table>";
}

std::string Complaint(const std::string& path) {
  try {
    const Table table(path.c_str());
  } catch (const cet::exception& error) {
    EXPECT_EQ(error.category(), "BrioDatabase");
    return error.message();
  }
  return "none";
}

class DefinitionFile : public testing::Test {
protected:
  TemporaryFolder first_;
  TemporaryFolder second_;
  TemporaryFolder current_;
  CurrentFolder here_{current_.Path()};
  EnvironmentVariable path_{"BRIO_SEARCH_PATH", first_.Path() + "::" + second_.Path()};
};

TEST_F(DefinitionFile, IsFoundAlongTheSearchPathInItsOrder) {
  current_.Write("tables/t.xml", TableNamed("current"));
  EXPECT_EQ(ReadTableDefinition("tables/t.xml").name, "current");
  second_.Write("tables/t.xml", TableNamed("second"));
  EXPECT_EQ(ReadTableDefinition("tables/t.xml").name, "second");
  const auto file = first_.Write("tables/t.xml", TableNamed("first"));
  EXPECT_EQ(ReadTableDefinition("tables/t.xml").name, "first");
  EXPECT_EQ(ReadTableDefinition("tables/t.xml").file, file);
}

TEST_F(DefinitionFile, AFolderOfItsNameIsPassedOver) {
  first_.Write("t.xml/other", "");
  second_.Write("t.xml", TableNamed("second"));
  EXPECT_EQ(ReadTableDefinition("t.xml").name, "second");
}

TEST_F(DefinitionFile, AnAbsolutePathIsNotSearchedFor) {
  const auto file = current_.Write("t.xml", TableNamed("absolute"));
  first_.Write("t.xml", TableNamed("first"));
  EXPECT_EQ(ReadTableDefinition(file).name, "absolute");
  EXPECT_EQ(Complaint("/nowhere/t.xml"), "/nowhere/t.xml: there is no such table-definition file");
}

TEST_F(DefinitionFile, TheCurrentFolderComesLast) {
  const auto folders = SearchFolders();
  ASSERT_GE(folders.size(), 3U);
  EXPECT_EQ(folders[0], first_.Path());
  EXPECT_EQ(folders[1], second_.Path());
  EXPECT_EQ(folders.back(), ".");
}

TEST_F(DefinitionFile, TheInstalledFolderStandsBetweenAndNoFolderOfTheSources) {
  const auto folders = SearchFolders();
  ASSERT_EQ(folders.size(), 4U);
  EXPECT_THAT(folders[2], StartsWith("/"));
  EXPECT_THAT(folders[2], EndsWith("/" BRIO_DATA_DIR));
}

TEST_F(DefinitionFile, ThatIsMissingIsReportedWithTheFoldersTried) {
  const std::string complaint = Complaint("tables/none.xml");
  EXPECT_THAT(complaint, StartsWith("tables/none.xml: there is no such table-definition file in any of: " +
                                    first_.Path() + ", " + second_.Path() + ", /"));
  EXPECT_THAT(complaint, EndsWith(", .; BRIO_SEARCH_PATH names further folders"));
}

TEST_F(DefinitionFile, ThatIsFaultyIsReportedByItsFullPath) {
  const auto empty = first_.Write("empty.xml", "");
  EXPECT_EQ(Complaint("empty.xml"), empty + ": line 1: not a table definition: No document element found");
  const auto binary = first_.Write("binary.xml", std::string("\x7f"
                                                             "ELF\0\0\0<\xff",
                                                             9));
  EXPECT_THAT(Complaint("binary.xml"), StartsWith(binary + ": line 1: not a table definition: "));
}

TEST_F(DefinitionFile, ThatIsTooLargeIsNotRead) {
  const std::string table = TableNamed("t");
  const auto file = first_.Write("t.xml", table + std::string((1U << 20U) - table.size(), ' '));
  EXPECT_EQ(ReadTableDefinition("t.xml").name, "t");
  first_.Write("t.xml", table + std::string((1U << 20U) - table.size() + 1, ' '));
  EXPECT_EQ(Complaint("t.xml"), file + ": too large for a table definition (1048577 bytes; at most 1048576)");
}

TEST_F(DefinitionFile, ALineEndOfAnotherSystemDoesNotMatter) {
  first_.Write("t.xml", "\xEF\xBB\xBF<table name='t'>\r\n<column name='a' type='text'/>\r\n</table>\r\n");
  EXPECT_EQ(ReadTableDefinition("t.xml").columns.size(), 1U);
}

TEST(SearchPath, WithoutTheVariableHasTheInstalledAndTheCurrentFolder) {
  const EnvironmentVariable unset("BRIO_SEARCH_PATH", nullptr);
  ASSERT_EQ(SearchFolders().size(), 2U);
  EXPECT_EQ(SearchFolders().back(), ".");
}

}  // namespace
}  // namespace brio::dbi
