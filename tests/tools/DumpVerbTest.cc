#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Server.h"
#include "tests/tools/Command.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// What the dump of a run must be, from what the sample's tables hold.
std::string ExpectedDump(const std::string& database, int run) {
  const auto number = std::to_string(run);
  const auto names = [&](const std::string& type) {
    std::string lines;
    const auto rows =
        server::Query(database, "SELECT appname FROM daq.daqresourcesbyrun WHERE run = " + number +
                                    " AND resource_type = '" + type + "' ORDER BY appname");
    for (const auto& row : rows) {
      lines += "\t" + row[0] + "\n";
    }
    return std::make_pair(rows.size(), lines);
  };
  const auto row = server::Query(database,
                                 "SET datestyle = ISO; SELECT tstart, tstop, nactivechan FROM daq.runs "
                                 "WHERE run = " +
                                     number)
                       .at(0);
  const auto dcms = names("dcm");
  const auto bnevbs = names("bnevb");
  const std::string stars(40, '*');
  return stars + "\nDump of run " + number + "\n" + stars + "\n\nNum Subruns        : 0\n" +
         "Start time         : " + row[0] + "\nEnd time           : " + row[1] +
         "\nTrig Tot           : 0\nNum Active Channels: " + row[2] + "\nNum Total Channels:  0\n" +
         "RunHistory: Loading FEB and APD installation information\n" +
         "Num DCMs           : " + std::to_string(dcms.first) + "\n" + dcms.second +
         "Num BNEVBs         : " + std::to_string(bnevbs.first) + "\n" + bnevbs.second;
}

CommandResult Dump(const std::string& detector, int run, const std::string& prefix = "small") {
  return RunHistoryCommand(
      {"dump", "--detector", detector, "--run", std::to_string(run), "--database", server::Template(prefix)});
}

TEST(DumpVerb, PrintsTheDumpOfAFarDetectorRunAndNothingElse) {
  const auto result = Dump("Birch", 13000);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, ExpectedDump("small_birch", 13000));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST(DumpVerb, PrintsTheDumpOfANearDetectorRunAndNothingElse) {
  const auto result = Dump("Alder", 11000);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, ExpectedDump("small_alder", 11000));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST(DumpVerb, TakesTheDatabaseFromTheEnvironment) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  EXPECT_EQ(RunHistoryCommand({"dump", "-d", "Birch", "-r", "13000"}).output,
            ExpectedDump("small_birch", 13000));
}

TEST(DumpVerb, LeavesOutTheDiblocksThatTheMaskCallsBad) {
  const auto result = RunHistoryCommand({"dump", "--detector", "Birch", "--run", "13000", "--custom-mask",
                                         "1", "--database", server::Template("small")});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\nNum DCMs           : 12\n"));
}

TEST(DumpVerb, LogsStatementsToStandardErrorWhenVerbose) {
  const auto result = RunHistoryCommand({"dump", "--detector", "Birch", "--run", "13000", "--verbose",
                                         "--database", server::Template("small")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, ExpectedDump("small_birch", 13000));
  EXPECT_THAT(result.error, HasSubstr("BrioDatabase"));
}

TEST(DumpVerb, OfAMissingRunHasStatusOneAndTheReason) {
  const auto result = Dump("Birch", 14999);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("Dump of run 14999\n"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
}

TEST(DumpVerb, OfARunWithoutResourcesHasStatusOneAndTheReason) {
  const auto result = Dump("Birch", 13006);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("LoadDAQRunHistory: no resources found for run 13006"));
}

TEST(DumpVerb, OfARunWhoseHardwareCannotBeReadHasStatusOneAndSaysItOnce) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON public.feb_comm_cables FROM PUBLIC, brio_reader");
  const auto result = RunHistoryCommand(
      {"dump", "--detector", "Birch", "--run", "13000", "--database", databases.Template()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, ExpectedDump("small_birch", 13000));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: its hardware could not be read\n"));
  const auto first = result.error.find("Query failed: ");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(result.error.find("Query failed: ", first + 1), std::string::npos);
}

}  // namespace
}  // namespace brio::test
