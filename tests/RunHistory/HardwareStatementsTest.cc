#include <gtest/gtest.h>

#include "tests/RunHistory/HardwareRows.h"

// The statements are part of what the library promises to those who keep the databases: they index for them.

namespace brio::dbi {
namespace {

const char* const kGains =
    R"(select right(gain.apd_id, 7), gain.batch_no, gain.target_degc, gain.pixel_col, gain.pixel_row, gain.pixel_m from public.apd_pixel_m gain where gain.target_degc<0 ORDER BY right(gain.apd_id, 7) ASC, gain.batch_no DESC, gain.target_degc ASC, gain.pixel_col ASC, gain.pixel_row ASC)";

const char* const kAPDs =
    R"(select right(astat.apd_id, 7), astat.batch_no, astat.target_degc, astat.vr, bi.barcoded_item_id, bi.date_added, mac.module, mac.connection_id, nc.date_removed from public.apd_stats astat, millpondprod_factory.barcoded_item bi, millpondprod_factory.module_apd_connection mac, millpondprod_factory.brio_connection nc where right(bi.barcode,7)=right(astat.apd_id,7) and bi.glassfish_discriminator='apd' and mac.apd=bi.barcoded_item_id and nc.connection_id=mac.connection_id and bi.date_added < '2016-03-01 03:00:00'  and (nc.date_removed is NULL or nc.date_removed > '2016-03-01 03:00:00') and (bi.date_removed is NULL or bi.date_removed > '2016-03-01 03:00:00')ORDER BY right(astat.apd_id, 7) ASC, astat.target_degc ASC)";

const char* const kFEBs =
    R"(select bi.barcode, febtest.hvfitintercept, febtest.hvfitslope, bi.barcoded_item_id, bi.date_added, mfc.module, mfc.connection_id, nc.date_removed from millpondprod_factory.barcoded_item bi, millpondprod_factory.module_feb_connection mfc, millpondprod_factory.brio_connection nc, public.feb_test_summary febtest where bi.barcode=overlay(overlay(febtest.febsn placing '.' from 5 for 1) placing '.' from 7 for 1) and bi.glassfish_discriminator='feb' and mfc.feb=bi.barcoded_item_id and nc.connection_id=mfc.connection_id and bi.date_added < '2016-03-01 03:00:00'  and (nc.date_removed is NULL or nc.date_removed > '2016-03-01 03:00:00') and (bi.date_removed is NULL or bi.date_removed > '2016-03-01 03:00:00') ORDER BY bi.date_added DESC)";

const char* const kCables =
    R"(select btrim(fcom.location1, 'DIBLK:') diblk, btrim(fcom.position1, 'DCM:') dcm, btrim(fcom.port1,'PRT:') feb, mod.block, mod.layer, mod.position_in_layer, mod.barcoded_item_id from public.feb_comm_cables fcom, millpondprod_factory.module mod where (mod.block=CAST(btrim(fcom.location2,'BLK:') AS INT) and mod.layer=CAST(btrim(fcom.position2,'PLN:') AS INT) and mod.position_in_layer=CAST(btrim(fcom.port2,'POS:') AS INT)) ORDER BY diblk ASC, dcm ASC, feb ASC)";

const char* const kFarPorts =
    R"(SELECT btrim(fcom.location1,'DIBLK:') diblk, btrim(fcom.position1,'DCM:') pos, CAST(btrim(fcom.port1,'PRT:') AS INT) feb, mod.block AS block, mod.layer AS plane, mod.position_in_layer AS position FROM public.feb_comm_cables fcom, millpondprod_factory.module mod LEFT OUTER JOIN millpondprod_factory.barcoded_item bm ON (mod.barcoded_item_id = bm.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.module_apd_connection ON (mod.barcoded_item_id = module_apd_connection.module) LEFT OUTER JOIN millpondprod_factory.apd ON (module_apd_connection.apd = apd.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.barcoded_item ba ON (apd.barcoded_item_id = ba.barcoded_item_id) LEFT OUTER JOIN millpondprod_factory.brio_connection mac ON (mac.connection_id = module_apd_connection.connection_id) WHERE mac.date_created AT TIME ZONE 'CDT' < '2016-03-01 03:00:00' and (mac.date_removed is NULL or mac.date_removed AT TIME ZONE 'CDT' > '2016-03-01 03:00:00') and (mod.block=CAST(btrim(fcom.location2,'BLK:') AS INT) and mod.layer=CAST(btrim(fcom.position2,'PLN:') AS INT) and mod.position_in_layer=CAST(btrim(fcom.port2,'POS:') AS INT)) ORDER BY diblk,pos,feb)";

const char* const kNearPorts =
    R"(SELECT dcm_name,dcm_port,block,plane,module_position from hardware_position where detector='Alder' and install_date at time zone 'UTC' < '2014-06-10 03:00:00' and (remove_date is NULL or remove_date at time zone 'UTC' > '2014-06-10 03:00:00') and hw_type='APD' order by dcm_name,dcm_port)";

using Texts = std::vector<std::string>;

TEST(HardwareStatements, OfTheMapping) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  auto run = test::RunStartingAt("2016-03-01 03:00:00");
  test::CapturedOutput output;
  const test::SentStatements sent;
  test::MapHardware(run);
  EXPECT_EQ(sent.Texts(), (Texts{kGains, kAPDs, kFEBs, kCables}));
}

/// The hardware loader's statements follow those of the runs and resources tables.
std::string LastStatementOfHardware(int number, const std::string& detector) {
  RunHistory run(number, detector);
  test::CapturedOutput output;
  const test::SentStatements sent;
  EXPECT_TRUE(run.LoadHardwareInfo());
  EXPECT_EQ(sent.Texts().size(), 3U);
  return sent.Texts().back();
}

TEST(HardwareStatements, OfTheHardwareLoader) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  EXPECT_EQ(LastStatementOfHardware(13002, "Birch"), kFarPorts);
  EXPECT_EQ(LastStatementOfHardware(11000, "Alder"), kNearPorts);
}

/// The loader answers as if the server had refused the statement.
TEST(HardwareStatements, AreNotSentWithAStartThatIsNoTime) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  for (const char* start : {"2016-03-01' or '1'='1", "2016-03-01' and ''='", "2016-03-01\\", "2016-03-01;"}) {
    SCOPED_TRACE(start);
    auto run = test::RunStartingAt(start);
    const test::CapturedMessages messages("error");
    test::CapturedOutput output;
    const test::SentStatements sent;
    test::MapHardware(run);
    EXPECT_EQ(sent.Texts(), (Texts{kGains, kCables}));
    EXPECT_TRUE(gLocToFA.empty());
    const auto errors = messages.Texts(Severity::Error, "RunHistory");
    ASSERT_EQ(errors.size(), 4U);
    EXPECT_EQ(errors[0].find("the run's start is no time, and no statement is sent with it: \"2016-03-01"),
              0U);
    EXPECT_EQ(errors[1].find("Query failed: select right(astat.apd_id, 7)"), 0U);
    EXPECT_EQ(errors[2], errors[0]);
    EXPECT_EQ(errors[3].find("Query failed: select bi.barcode"), 0U);
    EXPECT_EQ(messages.All().size(), 4U);
  }
}

TEST(HardwareStatements, AreSentWithEveryStartThatATimestampPrints) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  for (const char* start :
       {"infinity", "-infinity", "2013-01-01 00:00:00 BC", "2016-03-01 03:00:00.000001"}) {
    SCOPED_TRACE(start);
    auto run = test::RunStartingAt(start);
    const test::CapturedMessages messages("error");
    test::CapturedOutput output;
    const test::SentStatements sent;
    test::MapHardware(run);
    EXPECT_EQ(sent.Texts().size(), 4U);
    EXPECT_TRUE(messages.All().empty());
  }
}

}  // namespace
}  // namespace brio::dbi
