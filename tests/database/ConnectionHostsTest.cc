#include "database/ConnectionHosts.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using test::EnvironmentVariable;
using testing::ElementsAre;

std::vector<std::string> Entries(const std::vector<ConnectionHost>& hosts) {
  std::vector<std::string> entries;
  for (const auto& host : hosts) {
    entries.push_back(host.host + "|" + host.address + "|" + host.port);
  }
  return entries;
}

std::vector<std::string> HostsIn(const std::string& connectionString) {
  return Entries(HostsOf(EffectiveOptions(connectionString)));
}

TEST(ConnectionHosts, AreThoseOfTheList) {
  EXPECT_THAT(HostsIn("host=a,/b port=7"), ElementsAre("a||7", "/b||7"));
  EXPECT_THAT(HostsIn("host=a,b hostaddr=1.1.1.1,2.2.2.2 port=7,8"),
              ElementsAre("a|1.1.1.1|7", "b|2.2.2.2|8"));
  EXPECT_THAT(HostsIn("postgresql://a:7,b:8/x"), ElementsAre("a||7", "b||8"));
}

TEST(ConnectionHosts, AnEmptyPlaceMeansLibpqsDefault) {
  const EnvironmentVariable port("PGPORT", "9");
  const std::string own = DefaultHost();
  EXPECT_FALSE(own.empty());
  EXPECT_THAT(HostsIn("host=a,b port=7,"), ElementsAre("a||7", "b||5432"));
  EXPECT_THAT(HostsIn("host=a,b port=,7"), ElementsAre("a||5432", "b||7"));
  EXPECT_THAT(HostsIn("host=a,b"), ElementsAre("a||9", "b||9"));
  EXPECT_THAT(HostsIn("host=,b"), ElementsAre(own + "||9", "b||9"));
  EXPECT_THAT(HostsIn("host=a,b hostaddr=,2.2.2.2"), ElementsAre("a||9", "b|2.2.2.2|9"));
  EXPECT_THAT(HostsIn("hostaddr=1.1.1.1,2.2.2.2"), ElementsAre("1.1.1.1|1.1.1.1|9", "2.2.2.2|2.2.2.2|9"));
}

TEST(ConnectionHosts, OfASingleOneNothingIsMadeUp) {
  EXPECT_THAT(HostsIn("dbname=x"), ElementsAre("||5432"));
  EXPECT_THAT(HostsIn("hostaddr=1.1.1.1"), ElementsAre("|1.1.1.1|5432"));
}

TEST(ConnectionHosts, ListsThatDoNotMatchAreLeftToLibpq) {
  EXPECT_THAT(HostsIn("host=a,b hostaddr=1.1.1.1"), ElementsAre("||"));
  EXPECT_THAT(HostsIn("host=a,b,c port=1,2"), ElementsAre("||"));
  EXPECT_THAT(HostsIn("host=a port=1,2"), ElementsAre("||"));
}

TEST(ConnectionHosts, AreLookedUpOnlyWhereTheyHaveNoAddress) {
  std::string complaint;
  EXPECT_THAT(Entries(AddressesOf({"127.0.0.7", "", "1"}, complaint)), ElementsAre("127.0.0.7|127.0.0.7|1"));
  EXPECT_THAT(Entries(AddressesOf({"no such name", "127.0.0.7", "1"}, complaint)),
              ElementsAre("no such name|127.0.0.7|1"));
  EXPECT_THAT(Entries(AddressesOf({"/folder", "", "1"}, complaint)), ElementsAre("/folder||1"));
  EXPECT_THAT(Entries(AddressesOf({"@abstract", "", "1"}, complaint)), ElementsAre("@abstract||1"));
  EXPECT_THAT(Entries(AddressesOf({"", "", "1"}, complaint)), ElementsAre("||1"));
  EXPECT_EQ(complaint, "");
}

TEST(ConnectionHosts, PreferringAStandbyTakesTwoPasses) {
  EXPECT_THAT(PassesOver(EffectiveOptions("target_session_attrs=prefer-standby")),
              ElementsAre("standby", "any"));
  EXPECT_THAT(PassesOver(EffectiveOptions("target_session_attrs=read-write")), ElementsAre(""));
  EXPECT_THAT(PassesOver(EffectiveOptions("host=a")), ElementsAre(""));
}

/// As a libpq gives it that knows the option; older ones refuse it.
OptionsHandle LoadBalance(const char* value) {
  auto* options = static_cast<PQconninfoOption*>(std::calloc(2, sizeof(PQconninfoOption)));
  options->keyword = const_cast<char*>("load_balance_hosts");
  options->val = strdup(value);
  return OptionsHandle(options);
}

TEST(ConnectionHosts, AreShuffledWhereTheLoadIsToBeBalanced) {
  const std::vector<ConnectionHost> three{{"a", "", ""}, {"b", "", ""}, {"c", "", ""}};
  std::set<std::string> first;
  for (int i = 0; i < 200; ++i) {
    auto list = three;
    BalanceLoad(LoadBalance("random"), list);
    first.insert(list.front().host);
    ASSERT_EQ(list.size(), 3U);
    BalanceLoad(LoadBalance("disable"), list = three);
    EXPECT_EQ(list.front().host, "a");
  }
  EXPECT_THAT(first, ElementsAre("a", "b", "c"));
}

TEST(ConnectionOptions, AreThoseOfStringServiceAndEnvironment) {
  const EnvironmentVariable user("PGUSER", "someone");
  const auto options = EffectiveOptions("host=a connect_timeout=3");
  EXPECT_EQ(OptionValue(options, "host"), "a");
  EXPECT_EQ(OptionValue(options, "connect_timeout"), "3");
  EXPECT_EQ(OptionValue(options, "user"), "someone");
  EXPECT_EQ(OptionValue(options, "no such option"), "");
  EXPECT_EQ(OptionValue(OptionsIn("host=a"), "user"), "");
  EXPECT_EQ(OptionsIn("hosst=a"), nullptr);
}

}  // namespace
}  // namespace brio::dbi
