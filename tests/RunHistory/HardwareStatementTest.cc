#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using testing::SizeIs;

constexpr const char* kNearStatement =
    "SELECT dcm_name,dcm_port,block,plane,module_position from hardware_position where detector='Alder' and "
    "install_date at time zone 'UTC' < '2016-03-01 03:00:00' and (remove_date is NULL or remove_date at time "
    "zone "
    "'UTC' > '2016-03-01 03:00:00') and hw_type='APD' order by dcm_name,dcm_port";

constexpr const char* kFarStatement =
    "SELECT btrim(fcom.location1,'DIBLK:') diblk, btrim(fcom.position1,'DCM:') pos, "
    "CAST(btrim(fcom.port1,'PRT:') AS "
    "INT) feb, mod.block AS block, mod.layer AS plane, mod.position_in_layer AS position FROM "
    "public.feb_comm_cables "
    "fcom, millpondprod_factory.module mod LEFT OUTER JOIN millpondprod_factory.barcoded_item bm ON "
    "(mod.barcoded_item_id = bm.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.module_apd_connection "
    "ON "
    "(mod.barcoded_item_id = module_apd_connection.module) LEFT OUTER JOIN millpondprod_factory.apd ON "
    "(module_apd_connection.apd = apd.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.barcoded_item "
    "ba ON "
    "(apd.barcoded_item_id = ba.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.brio_connection mac "
    "ON "
    "(mac.connection_id = module_apd_connection.connection_id) WHERE mac.date_created AT TIME ZONE 'CDT' < "
    "'2016-03-01 03:00:00' and (mac.date_removed is NULL or mac.date_removed AT TIME ZONE 'CDT' > "
    "'2016-03-01 03:00:00') and (mod.block=CAST(btrim(fcom.location2,'BLK:') AS INT) and "
    "mod.layer=CAST(btrim(fcom.position2,'PLN:') AS INT) and "
    "mod.position_in_layer=CAST(btrim(fcom.port2,'POS:') AS INT)) ORDER BY diblk,pos,feb";

TEST(HardwareStatement, OfTheNearDetectorIsSentAsItStands) {
  RunDatabase database("Alder");
  database.AddRun();
  database.AddDCM("dcm-1-01-01");
  auto run = database.Run();
  const Statements statements;
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  ASSERT_THAT(statements.All(), SizeIs(3));
  EXPECT_EQ(statements.All()[2], kNearStatement);
}

TEST(HardwareStatement, OfTheFarDetectorIsSentAsItStands) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  const Statements statements;
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  ASSERT_THAT(statements.All(), SizeIs(3));
  EXPECT_EQ(statements.All()[2], kFarStatement);
}

TEST(HardwareStatement, OfARunWithoutAStartHasTheDefaultOne) {
  RunDatabase database;
  database.AddRun();
  database.Execute("UPDATE daq.runs SET tstart = NULL");
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  const Statements statements;
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  std::string expected = kFarStatement;
  for (const std::string start = "2016-03-01 03:00:00"; expected.find(start) != std::string::npos;) {
    expected.replace(expected.find(start), start.size(), "2010-01-01 00:00:00");
  }
  EXPECT_EQ(statements.All().back(), expected);
}

/// A stay of hardware on a port, and whether it covers the run's start, 2016-03-01 03:00:00.
struct Stay {
  const char* name;
  const char* from;
  const char* to;
  bool covers;
};

std::string NameOf(const testing::TestParamInfo<Stay>& tested) { return tested.param.name; }

class NearStay : public testing::TestWithParam<Stay> {};

TEST_P(NearStay, IsReadInUTC) {
  RunDatabase database("Alder");
  database.AddRun();
  database.AddDCM("dcm-1-01-01");
  database.AddNearModule("'dcm-1-01-01'", "0", GetParam().from, GetParam().to);
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(run.NInstrumentedFEBs(), GetParam().covers ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    HardwareStatement, NearStay,
    testing::Values(Stay{"Open", "'2015-01-01Z'", "NULL", true},
                    Stay{"JustBefore", "'2016-03-01 02:59:59Z'", "NULL", true},
                    Stay{"AtTheStart", "'2016-03-01 03:00:00Z'", "NULL", false},
                    Stay{"BetweenUTCAndCDT", "'2016-03-01 05:30:00Z'", "NULL", false},
                    Stay{"RemovedAtTheStart", "'2015-01-01Z'", "'2016-03-01 03:00:00Z'", false},
                    Stay{"RemovedJustAfter", "'2015-01-01Z'", "'2016-03-01 03:00:01Z'", true},
                    Stay{"RemovedBetweenUTCAndCDT", "'2015-01-01Z'", "'2016-03-01 05:30:00Z'", true},
                    Stay{"NeverInstalled", "NULL", "NULL", false}),
    NameOf);

class FarStay : public testing::TestWithParam<Stay> {};

TEST_P(FarStay, IsReadInCDT) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddFarModule(1, 1, 0, GetParam().from, GetParam().to);
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(run.NInstrumentedFEBs(), GetParam().covers ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    HardwareStatement, FarStay,
    testing::Values(Stay{"Open", "'2015-01-01Z'", "NULL", true},
                    Stay{"BetweenUTCAndCDT", "'2016-03-01 05:30:00Z'", "NULL", true},
                    Stay{"JustBefore", "'2016-03-01 07:59:59Z'", "NULL", true},
                    Stay{"AtTheStart", "'2016-03-01 08:00:00Z'", "NULL", false},
                    Stay{"RemovedBetweenUTCAndCDT", "'2015-01-01Z'", "'2016-03-01 05:30:00Z'", false},
                    Stay{"RemovedAtTheStart", "'2015-01-01Z'", "'2016-03-01 08:00:00Z'", false},
                    Stay{"RemovedJustAfter", "'2015-01-01Z'", "'2016-03-01 08:00:01Z'", true}),
    NameOf);

}  // namespace
}  // namespace brio::test
