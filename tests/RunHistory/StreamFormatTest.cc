// What clients left on the two streams (a width and fill, a base, a locale) changes no line of the library,
// and the library changes nothing of it.
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/RunDatabase.h"
#include "tests/support/Locale.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using testing::HasSubstr;

struct Streams {
  std::string output;
  std::string error;
};

/// Provokes the lines of all loaders.
void Provoke(const ScratchDatabases& databases) {
  RunHistory simulated(1000001, "Birch");
  simulated.LoadDAQRunHistory();

  RunHistory custom(13000, "Birch");
  custom.SetUseGoodDiBlockMask(true);
  custom.SetUseCustomMask(true);
  custom.SetCustomDiBlockMask(0x55);
  custom.LoadGoodDiBlockMask();

  for (const int number : {13000, 13001, 13002, 13003, 13018}) {
    RunHistory run(number, "Birch");
    run.SetUseGoodDiBlockMask(true);
    run.SetApplyAnalysisMask(true);
    run.LoadGoodDiBlockMask();
  }

  RunHistory whole(13000, "Birch");
  whole.LoadAllDetInfo();
  whole.Dump();
  whole.IsCooled(0U);
  whole.SetMaxLoadRetries(-1);
  whole.LoadPixelInfo(0);

  RunHistory missing(99999, "Birch");
  missing.LoadDAQRunHistory();
  missing.LoadDAQRunHistory();
  missing.LoadPOT();

  RunHistory failing(13000, "Birch");
  failing.LoadDAQRunHistory();
  databases.Execute("ALTER TABLE millpondprod_factory.module RENAME TO gone");
  failing.LoadHardwareInfo();
  databases.Execute("ALTER TABLE millpondprod_factory.gone RENAME TO module");
  {
    const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere dbname=none");
    failing.LoadHardwareInfo();
  }
  failing.LoadHardwareInfo();
  databases.Execute("ALTER TABLE daqconfig.thresholds RENAME TO gone");
  failing.LoadPixelInfo(0);
  databases.Execute("ALTER TABLE daqconfig.gone RENAME TO thresholds");

  try {
    throw 1;
  } catch (int) {
    EXPECT_THROW(failing.SetDetector("Nobody"), int);
    EXPECT_THROW(failing.SetDetector(static_cast<briodaq::cnv::DetId>(6)), int);
  }
}

TEST(StreamFormats, OfClientsAreNeitherFollowedNorChanged) {
  const ScratchDatabases databases("small");
  const EnvironmentVariable database("BRIO_DATABASE", databases.Template());
  const CapturedMessages messages("error");
  databases.Execute("UPDATE dataquality.gooddiblocksvsrun SET dbmask = 3 WHERE run = 13001");
  Streams plain;
  {
    CapturedOutput captured;
    Provoke(databases);
    plain = {captured.StandardOutput(), captured.StandardError()};
  }
  Streams odd;
  {
    CapturedOutput captured;
    const OddFormat output(std::cout);
    const OddFormat error(std::cerr);
    Provoke(databases);
    EXPECT_TRUE(output.IsKept());
    EXPECT_TRUE(error.IsKept());
    odd = {captured.StandardOutput(), captured.StandardError()};
  }
  EXPECT_EQ(odd.output, plain.output);
  EXPECT_EQ(odd.error, plain.error);
  for (const char* line : {"Looks like a MC run number", "RunHistory: Applying custom mask: ",
                           "mask unchanged from ", "mask modified from ", "Pull APD Info from DB\n",
                           "done!\n", "entire detector masked off", "Num BNEVBs         : "}) {
    EXPECT_THAT(plain.output, HasSubstr(line));
  }
  for (const char* line :
       {"IsCooled() is not yet implemented!\n", "giving up!\n", "no entry found the runs table!\n",
        "failed to find the run", "No POT info found for run 99999\n", "Query failed: SELECT",
        "Failed to connect to hardware database!  Failed", "failed to get valid data\n",
        "Bad detector id: Nobody\n", "Bad detector id: 6\n"}) {
    EXPECT_THAT(plain.error, HasSubstr(line));
  }
}

}  // namespace
}  // namespace brio::test
