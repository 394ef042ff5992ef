#include "database/ConnectionString.h"

#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;

TEST(ConnectionString, TheDetectorIsPutInInLowerCase) {
  const EnvironmentVariable database("BRIO_DATABASE", "host=a dbname=brio_{detector} service={detector}");
  EXPECT_EQ(ExpandConnectionString("Birch", DatabaseKind::Runs), "host=a dbname=brio_birch service=birch");
}

TEST(ConnectionString, EachKindOfDatabaseHasItsName) {
  const EnvironmentVariable database("BRIO_DATABASE", "{database}@{detector}");
  EXPECT_EQ(ExpandConnectionString("Alder", DatabaseKind::Runs), "runs@alder");
  EXPECT_EQ(ExpandConnectionString("Alder", DatabaseKind::Hardware), "hardware@alder");
  EXPECT_EQ(ExpandConnectionString("Alder", DatabaseKind::DAQConfiguration), "daqconfig@alder");
  EXPECT_EQ(ExpandConnectionString("Alder", DatabaseKind::SlowControl), "slowcontrol@alder");
}

TEST(ConnectionString, OtherBracesStay) {
  EXPECT_EQ(
      ExpandTemplate("{Detector}{detector{}{host} {{detector}} {data base} {", "Birch", DatabaseKind::Runs),
      "{Detector}{detector{}{host} {birch} {data base} {");
}

TEST(ConnectionString, WhatIsPutInIsNotExpandedAgain) {
  EXPECT_EQ(ExpandTemplate("{detector}", "{database}", DatabaseKind::Runs), "{database}");
}

TEST(ConnectionString, WithoutTheVariableAServiceOfTheDetectorIsMeant) {
  const EnvironmentVariable unset("BRIO_DATABASE", nullptr);
  EXPECT_EQ(ExpandConnectionString("Birch", DatabaseKind::Runs), "service=brio-birch");
  const EnvironmentVariable empty("BRIO_DATABASE", "");
  EXPECT_EQ(ExpandConnectionString("Birch", DatabaseKind::Hardware), "service=brio-birch");
}

TEST(ConnectionString, AScopeOfTheThreadStandsInPlaceOfTheVariable) {
  const EnvironmentVariable database("BRIO_DATABASE", "service=variable");
  const auto runs = [] { return ExpandConnectionString("Birch", DatabaseKind::Runs); };
  {
    const ScopedDatabase outer("dbname=outer_{detector}");
    EXPECT_EQ(runs(), "dbname=outer_birch");
    {
      const ScopedDatabase inner("dbname=inner_{database}");
      EXPECT_EQ(runs(), "dbname=inner_runs");
      std::optional<std::string> elsewhere;
      std::thread([&] { elsewhere = runs(); }).join();
      EXPECT_EQ(elsewhere, "service=variable");
    }
    EXPECT_EQ(runs(), "dbname=outer_birch");
  }
  EXPECT_EQ(runs(), "service=variable");
}

TEST(ConnectionString, IsSetByTheVariableOrAScope) {
  const EnvironmentVariable unset("BRIO_DATABASE", nullptr);
  EXPECT_FALSE(IsDatabaseSet());
  {
    const EnvironmentVariable empty("BRIO_DATABASE", "");
    EXPECT_FALSE(IsDatabaseSet());
    const ScopedDatabase scope("service=some");
    EXPECT_TRUE(IsDatabaseSet());
  }
  const EnvironmentVariable set("BRIO_DATABASE", "service=some");
  EXPECT_TRUE(IsDatabaseSet());
}

class BadDetectorName : public testing::TestWithParam<const char*> {};

TEST_P(BadDetectorName, IsRefusedBeforeItReachesTheString) {
  const EnvironmentVariable database("BRIO_DATABASE", "dbname=brio_{detector}");
  const CapturedMessages messages;
  EXPECT_EQ(ExpandConnectionString(GetParam(), DatabaseKind::Runs), std::nullopt);
  EXPECT_EQ(
      messages.Texts(Severity::Error, "BrioDatabase"),
      std::vector<std::string>{std::string("cannot choose a database for the detector name \"") + GetParam() +
                               "\": a name of letters, digits, \"_\" and \"-\" is needed"});
}

INSTANTIATE_TEST_SUITE_P(ConnectionString, BadDetectorName,
                         testing::Values("", " ", "Birch host=evil.example.org", "Birch'", "a\\", "a=b",
                                         "../a", "a&sslmode=disable", "a\n", "B\xc3\xa4ume"));

}  // namespace
}  // namespace brio::dbi
