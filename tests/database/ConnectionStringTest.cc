#include "database/ConnectionString.h"

#include <string>
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
