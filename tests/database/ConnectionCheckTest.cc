#include "database/ConnectionCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/Connect.h"
#include "tests/database/Fixtures.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using test::TemporaryFolder;
using testing::ElementsAre;

class ReadableString : public testing::TestWithParam<const char*> {};

TEST_P(ReadableString, IsNotTakenForOneWithAPasswordInIt) { EXPECT_TRUE(IsReadable(GetParam())); }

INSTANTIATE_TEST_SUITE_P(ConnectionCheck, ReadableString,
                         testing::Values("", "brio_birch", "brio@birch", "brio:birch", "me@host:name",
                                         "host=/run/x dbname=a@b", "host=fe80::1 user=me@REALM",
                                         "host=@abstract", "hostaddr=::1", "dbname=x password=a:b@c",
                                         "postgresql://me:a%40b@[::1]:5432/x", "postgresql://me@host/x",
                                         "application_name=user:name@host", "service=birch",
                                         "host=a,b port=1,"));

class RevealingString : public testing::TestWithParam<const char*> {};

TEST_P(RevealingString, CannotBeRead) { EXPECT_FALSE(IsReadable(GetParam())); }

INSTANTIATE_TEST_SUITE_P(ConnectionCheck, RevealingString,
                         testing::Values("me:secret@host/x", "me:secret@", ":secret@host",
                                         "host=me:secret@host", "hostaddr=me:secret@1.1.1.1",
                                         "dbname=me:secret@host/x", "user=me:secret@host",
                                         "service=me:secret@host"));

TEST(ConnectionCheck, WhatAServiceOrTheEnvironmentRevealsIsRefusedWithoutAnyOfIt) {
  const std::string wanted =
      "the service file or the environment cannot be used: a password seems to stand in a host, port, user "
      "or "
      "database there";
  const TemporaryFolder folder;
  const EnvironmentVariable file("PGSERVICEFILE", folder.Write("services", "[mine]\nhost=me:secret@host\n"));
  {
    const CapturedMessages messages("debug");
    EXPECT_EQ(Connect("service=mine", 3), nullptr);
    ASSERT_EQ(messages.All().size(), 1U);
    EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(wanted));
  }
  const EnvironmentVariable database("PGDATABASE", "me:secret@host/x");
  const CapturedMessages messages("debug");
  EXPECT_EQ(Connect("host=/nowhere", 3), nullptr);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(wanted));
}

}  // namespace
}  // namespace brio::dbi
