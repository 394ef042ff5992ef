#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"
#include "tests/tools/Sessions.h"

namespace brio::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The numbers of the runs that are listed.
std::vector<int> Listed(Arguments arguments, const std::string& detector = "Birch") {
  arguments.insert(arguments.begin(), "list");
  std::vector<int> numbers;
  for (const auto& run : JsonOnSmall(detector, arguments)) {
    numbers.push_back(run["run"]);
  }
  return numbers;
}

TEST(ListVerb, SetsRunsInATableTheNewestLast) {
  const auto result = OnSmall("Birch", {"list", "--run", "13003-13009"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(
      result.output,
      "  run          start (UTC)        duration     type  partition  configuration  diblocks         POT\n"
      "13003  2016-03-02 15:00:00  8 h 50 min 0 s  Physics          1           1003        10  2.3375e+17\n"
      "13004  2016-03-04 03:00:00               -  Physics          1           1003        14    2.35e+17\n"
      "13005                    -               -        -          -              -        14  2.3625e+17\n"
      "13006  2016-03-07 03:00:00  8 h 50 min 0 s  Physics          1           1003         -   2.375e+17\n"
      "13007  2016-03-08 15:00:00  8 h 50 min 0 s  Physics          1           1003        14  2.3875e+17\n"
      "13008  2016-03-10 03:00:00  8 h 50 min 0 s  Physics          1           1003        14           -\n"
      "13009  2016-03-11 15:00:00  8 h 50 min 0 s  Physics          1           1003        14           "
      "-\n");
}

TEST(ListVerb, WritesTheSameAsCsvAndJson) {
  const Arguments one{"list", "--run", "13004", "--format"};
  const auto as = [&](const std::string& form) {
    auto arguments = one;
    arguments.push_back(form);
    return OnSmall("Birch", arguments).output;
  };
  EXPECT_EQ(
      as("csv"),
      "run,start,start_status,stop,stop_status,duration_s,duration_status,type,type_status,partition,"
      "partition_status,configuration,configuration_status,subruns,subruns_status,diblocks,"
      "diblocks_status,dcms,dcms_status,pot,pot_status\n"
      "13004,2016-03-04T03:00:00Z,known,,not recorded,,not recorded,Physics,known,1,known,1003,known,20,"
      "known,14,known,168,known,2.35e+17,known\n");
  const std::string object =
      "{\"run\":13004,\"start\":\"2016-03-04T03:00:00Z\",\"start_status\":\"known\",\"stop\":null,"
      "\"stop_status\":\"not recorded\",\"duration_s\":null,\"duration_status\":\"not recorded\","
      "\"type\":\"Physics\",\"type_status\":\"known\",\"partition\":1,\"partition_status\":\"known\","
      "\"configuration\":1003,\"configuration_status\":\"known\",\"subruns\":20,\"subruns_status\":\"known\","
      "\"diblocks\":14,\"diblocks_status\":\"known\",\"dcms\":168,\"dcms_status\":\"known\","
      "\"pot\":2.35e+17,\"pot_status\":\"known\"}\n";
  EXPECT_EQ(as("jsonl"), object);
  EXPECT_EQ(as("json"), "[\n" + object + "]\n");
  EXPECT_EQ(OnSmall("Birch", {"list", "--run", "13004", "--json"}).output, as("json"));
}

TEST(ListVerb, ChoosesRuns) {
  EXPECT_EQ(Listed({}).size(), 41U);
  EXPECT_THAT(Listed({}, "Alder"), ElementsAre(11000, 11001, 11002, 11003));
  EXPECT_THAT(Listed({"--run", "13039-"}), ElementsAre(13039, 13040));
  EXPECT_THAT(Listed({"--run", "13040-999999"}), ElementsAre(13040));
  EXPECT_THAT(Listed({"--limit", "2"}), ElementsAre(13039, 13040));
  EXPECT_THAT(Listed({"--since", "2014-06-10 03:00", "--until", "2015-08-02"}), ElementsAre(13000, 13001));
  EXPECT_THAT(Listed({"--since", "2014-06-10T03:00:01Z", "--until", "2015-08-02"}), ElementsAre(13001));
  EXPECT_THAT(Listed({"--at", "2014-06-10 08:00"}), ElementsAre(13000));
  EXPECT_THAT(Listed({"--at", "2014-06-10 08:00+05"}), ElementsAre(13000));
  EXPECT_THAT(Listed({"--at", "2014-06-10 08:00+06"}), ElementsAre());
  EXPECT_THAT(Listed({"--type", "Calibration"}), ElementsAre(13033));
  EXPECT_THAT(Listed({"--partition", "2"}), ElementsAre(13030));
  EXPECT_THAT(Listed({"--config", "1010"}), ElementsAre(13013));
  EXPECT_THAT(Listed({"--where", "nsubruns >= 21", "--where", "run<13003"}), ElementsAre(13001, 13002));
  EXPECT_THAT(Listed({"--where", "runtype != Physics"}), ElementsAre(13033));
}

TEST(ListVerb, SendsValuesAsValues) {
  EXPECT_THAT(Listed({"--type", "' OR '1'='1"}), ElementsAre());
  EXPECT_THAT(Listed({"--where", "runtype = ' OR '1'='1"}), ElementsAre());
}

TEST(ListVerb, SaysThatThereAreNoSuchRuns) {
  const auto text = OnSmall("Birch", {"list", "--run", "14000-14999"});
  EXPECT_EQ(text.status, 0);
  EXPECT_THAT(text.output, IsEmpty());
  EXPECT_EQ(text.error, "runhistory: there are no such runs of Birch\n");
  EXPECT_EQ(OnSmall("Birch", {"list", "--run", "14000", "--json"}).output, "[]\n");
}

TEST(ListVerb, RefusesWhatIsNoCondition) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"--where", "nsubruns"}, "--where: \"nsubruns\" is no comparison of a column with a value\n"},
      {{"--where", "subruns > 1"},
       "runhistory: the runs table has no column \"subruns\"; it has begin_comment, configid, end_comment, "
       "nactivechan, nevents, nsubruns, partition, run, runtype, shifter, tstart, tstop\n"},
      {{"--where", "run <> 13000"}, "runhistory: there is no comparison \"<>\"\n"},
      {{"--limit", "0"}, "--limit: "}};
  for (const auto& [arguments, reason] : cases) {
    const auto result = OnSmall("Birch", {"list", arguments[0], arguments[1]});
    EXPECT_EQ(result.status, 2) << arguments[1];
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr(reason));
  }
}

TEST(ListVerb, SaysWhyTheServerRefusesAValue) {
  for (const Arguments& arguments :
       {Arguments{"list", "--since", "yesteryear"}, {"list", "--where", "run=x"}}) {
    const auto result = OnSmall("Birch", arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr("runhistory: the runs of Birch cannot be listed: "));
    EXPECT_THAT(result.error, HasSubstr("invalid input syntax for type"));
  }
}

TEST(ListVerb, ListsWhatItCanAndSaysWhatItCannotRead) {
  const ScratchDatabases databases("small");
  databases.Execute("REVOKE ALL ON beam.potbyrun FROM PUBLIC, brio_reader");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"list", "--run", "13000"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n13000  2014-06-10 03:00:00  8 h 50 min 0 s  Physics          1"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: the list of the runs of Birch is not complete: "));
  EXPECT_THAT(result.error, HasSubstr("permission denied for table potbyrun"));
}

TEST(ListVerb, CountsDiBlocksOfALongListWhenAsked) {
  const ScratchDatabases databases("small");
  databases.Execute("INSERT INTO daq.runs (run) SELECT generate_series(20000, 20200)");
  const auto list = [&](Arguments arguments) {
    return RunHistoryCommand(OnDatabases(databases.Template(), "Birch", std::move(arguments)));
  };
  const auto quick = list({"list", "--json"});
  EXPECT_EQ(quick.status, 0);
  const auto first = json::parse(quick.output).front();
  EXPECT_TRUE(first["diblocks"].is_null());
  EXPECT_EQ(first["diblocks_status"], "not asked for");
  EXPECT_EQ(quick.error,
            "runhistory: diblocks are not counted in a list of more than 200 runs; --count-diblocks counts "
            "them\n");
  const auto whole = list({"list", "--count-diblocks", "--json"});
  EXPECT_EQ(json::parse(whole.output).front()["diblocks"], 14);
  EXPECT_THAT(whole.error, IsEmpty());
  EXPECT_EQ(json::parse(list({"list", "--limit", "200", "--json"}).output).front()["diblocks_status"],
            "not in the run");
}

TEST(ListVerb, OpensOneConnection) {
  const ScratchDatabases databases("small");
  const auto before = SessionsOf(databases.Name());
  EXPECT_EQ(RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"list"})).status, 0);
  EXPECT_EQ(SessionsOf(databases.Name(), before), 1);
}

}  // namespace
}  // namespace brio::test
