#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(MaskVerb, DrawsTheStoredMaskTheAnalysisMaskAndWhatTheRuleRemoves) {
  const auto result = OnSmall("Birch", {"mask", "--run", "13010"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "Run 13010 of Birch: good diblocks\n"
            "  diblock   00000000011111\n"
            "            12345678901234\n"
            "  database  ######-##-####  diblocks 1-6, 8-9, 11-14\n"
            "  analysis  ----------####  diblocks 11-14\n"
            "  removed   xxxxxx xx       diblocks 1-6, 8-9\n");
}

TEST(MaskVerb, AgreesWithTheLibraryInJson) {
  const auto mask = JsonOnSmall("Birch", {"mask", "--run", "13028"});
  LibraryRun library("Birch", 13028);
  const int bits = mask["database"]["bits"];
  EXPECT_EQ(bits, 16383 & ~16);
  EXPECT_EQ(mask["database"]["picture"], library.history.DiBlockMaskToString(bits));
  EXPECT_EQ(mask["analysis"]["bits"], library.history.ApplyAnalysisDiBlockMask(bits));
  EXPECT_EQ(mask["removed"], (std::vector<int>{1, 2, 3, 4}));
}

TEST(MaskVerb, TakesACustomMaskInPlaceOfTheStoredOne) {
  const auto result =
      RunHistoryCommand({"mask", "--detector", "Birch", "--run", "5", "--custom-mask", "0x3c"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  custom    --####--------  diblocks 3-6\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  the analysis rule changes nothing\n"));
}

TEST(MaskVerb, OfAMaskThatLeavesNothingSaysNone) {
  const auto result = OnSmall("Birch", {"mask", "--run", "13007"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  database  --------------  diblocks none\n"));
}

TEST(MaskVerb, SaysWhyThereIsNoMask) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"Birch", "13008"}, "run 13008 of Birch: No mask found in DB!\n"},
      {{"Birch", "5"}, "run 5 of Birch: a simulated run has no mask\n"},
      {{"Alder", "11000"}, "run 11000 of Alder: the near detector has no mask\n"}};
  for (const auto& [where, reason] : cases) {
    const auto result = OnSmall(where[0], {"mask", "--run", where[1]});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr(reason));
  }
}

TEST(DQVerb, SetsTheNewestRecordsInATable) {
  const auto result = OnSmall("Birch", {"dq", "--run", "13017"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "Run 13017 of Birch: data-quality records, version 3\n"
            "subrun  flag  MIP rate  good diblocks  slices  track fraction\n"
            "     0     0      1.25             14     4.5           0.875\n"
            "     1     0         0              0       0               0\n");
}

TEST(DQVerb, AgreesWithTheLibraryInJson) {
  const auto quality = JsonOnSmall("Birch", {"dq", "--run", "13000"});
  LibraryRun library("Birch", 13000);
  const auto records = library.history.GetDQSubrunInfo();
  ASSERT_EQ(records.size(), 20U);
  ASSERT_EQ(quality["subruns"].size(), records.size());
  EXPECT_EQ(quality["version"], records[0].version);
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto& shown = quality["subruns"][i];
    EXPECT_EQ(shown["subrun"], records[i].subrun);
    EXPECT_EQ(shown["flag"], records[i].flag);
    EXPECT_EQ(shown["miprate"].get<float>(), records[i].miprate);
    EXPECT_EQ(shown["ngooddb"], records[i].ngooddb);
    EXPECT_EQ(shown["numslc"].get<float>(), records[i].numslc);
    EXPECT_EQ(shown["trkfrac"].get<float>(), records[i].trkfrac);
  }
}

TEST(DQVerb, SaysThatThereAreNoRecordsOrThatTheyCannotBeRead) {
  const auto none = OnSmall("Birch", {"dq", "--run", "13008"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "runhistory: run 13008 of Birch: it has no data-quality records\n");
  const auto dead =
      RunHistoryCommand({"dq", "--detector", "Birch", "--run", "13000", "--database", "host=/nonexistent"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_THAT(dead.error, HasSubstr("runhistory: run 13000 of Birch: connection to server"));
}

TEST(POTVerb, AgreesWithTheLibrary) {
  const auto pot = JsonOnSmall("Birch", {"pot", "--run", "13017"});
  LibraryRun library("Birch", 13017);
  ASSERT_TRUE(library.history.LoadPOT());
  EXPECT_GT(library.history.GetTotalPOT(), 0.0F);
  EXPECT_EQ(pot["pot"].get<float>(), library.history.GetTotalPOT());
}

TEST(POTVerb, SaysWhyThereIsNone) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"13008", "run 13008 of Birch: no POT is recorded\n"},
      {"5", "run 5 of Birch: a simulated run has no POT\n"},
      {"14999", "run 14999 of Birch: there is no such run\n"}};
  for (const auto& [run, reason] : cases) {
    const auto result = OnSmall("Birch", {"pot", "--run", run});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr(reason));
  }
}

}  // namespace
}  // namespace brio::test
