#include <array>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/Rows.h"

namespace brio::dbi {
namespace {

/// Two rows of three columns: "one", NULL, "" and "2", "zwei", "two\0too".
Rows FromLibpq() {
  ResultHandle result(PQmakeEmptyPGresult(nullptr, PGRES_TUPLES_OK));
  std::array<std::string, 3> names{"a", "b", "c"};
  std::array<PGresAttDesc, 3> columns{};
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns[i].name = names[i].data();
  }
  PQsetResultAttrs(result.get(), 3, columns.data());
  const auto set = [&](int row, int column, std::string text) {
    PQsetvalue(result.get(), row, column, text.data(), static_cast<int>(text.size()));
  };
  set(0, 0, "one");
  PQsetvalue(result.get(), 0, 1, nullptr, -1);
  set(0, 2, "");
  set(1, 0, "2");
  set(1, 1, "zwei");
  set(1, 2, std::string("two\0too", 7));
  return Rows(std::move(result));
}

Rows FromCells() {
  auto texts = std::make_shared<const std::string>("one\0\0002\0zwei\0two\0too", 19);
  const char* text = texts->data();
  std::vector<Cell> cells{{text, 3}, {}, {text + 3, 0}, {text + 5, 1}, {text + 7, 4}, {text + 12, 7}};
  return {std::move(cells), 3, std::move(texts)};
}

using Source = Rows (*)();

class RowsOf : public testing::TestWithParam<Source> {
protected:
  const Rows rows_ = GetParam()();
};

INSTANTIATE_TEST_SUITE_P(Sources, RowsOf, testing::Values(&FromLibpq, &FromCells));

TEST_P(RowsOf, AreCounted) {
  EXPECT_EQ(rows_.Count(), 2);
  EXPECT_EQ(rows_.Columns(), 3);
  EXPECT_EQ(rows_.At(1).Columns(), 3);
}

TEST_P(RowsOf, GiveTextsAndLengths) {
  EXPECT_STREQ(rows_.At(0).Text(0), "one");
  EXPECT_EQ(rows_.At(0).Length(0), 3);
  EXPECT_STREQ(rows_.At(1).Text(0), "2");
  EXPECT_STREQ(rows_.At(1).Text(1), "zwei");
}

TEST_P(RowsOf, TellNullFromAnEmptyText) {
  EXPECT_TRUE(rows_.At(0).IsNull(1));
  EXPECT_STREQ(rows_.At(0).Text(1), "");
  EXPECT_EQ(rows_.At(0).Length(1), 0);
  EXPECT_FALSE(rows_.At(0).IsNull(2));
  EXPECT_STREQ(rows_.At(0).Text(2), "");
}

TEST_P(RowsOf, GiveBinaryValuesWhole) {
  const RowView row = rows_.At(1);
  EXPECT_EQ(std::string(row.Text(2), static_cast<std::size_t>(row.Length(2))), std::string("two\0too", 7));
  EXPECT_EQ(row.Text(2)[7], '\0');
}

TEST_P(RowsOf, ReadAColumnThatIsNotThereAsNull) {
  for (const int column : {-1, 3, 1000}) {
    EXPECT_STREQ(rows_.At(0).Text(column), "") << column;
    EXPECT_EQ(rows_.At(0).Length(column), 0) << column;
    EXPECT_TRUE(rows_.At(0).IsNull(column)) << column;
  }
}

TEST_P(RowsOf, ComeInOrder) {
  std::string texts;
  for (const RowView row : rows_) {
    texts += row.Text(0);
  }
  EXPECT_EQ(texts, "one2");
}

TEST(Rows, AreNoneUnlessGiven) {
  const Rows rows;
  EXPECT_EQ(rows.Count(), 0);
  EXPECT_EQ(rows.Columns(), 0);
  EXPECT_FALSE(rows.begin() != rows.end());
  EXPECT_EQ(Rows(ResultHandle()).Count(), 0);
  EXPECT_EQ(Rows({}, 0, nullptr).Count(), 0);
}

TEST(Rows, StayWhenTheyAreMoved) {
  for (const Source source : {&FromLibpq, &FromCells}) {
    Rows rows = source();
    const char* text = rows.At(1).Text(1);
    const Rows moved = std::move(rows);
    EXPECT_EQ(moved.At(1).Text(1), text) << "the text itself is where it was";
    EXPECT_STREQ(moved.At(1).Text(1), "zwei");
  }
}

}  // namespace
}  // namespace brio::dbi
