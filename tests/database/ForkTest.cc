// A process that is forked off leaves its parent's connections alone.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;

/// Runs something in a child, which then ends as a program that returns from main does.
template <class Work>
int ChildsStatus(Work work) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const bool isRight = work();
    std::exit(isRight ? 0 : 1);  // runs what is registered for the end, unlike _exit
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

constexpr const char* kProcess = "SELECT pg_backend_pid()";

class ForkedChild : public test::OwnDatabase {};

TEST_F(ForkedChild, LeavesTheConnectionOfATableToItsParent) {
  auto table = Facts();
  const std::string process = Ask(*table, kProcess);
  const CapturedMessages messages;
  EXPECT_EQ(ChildsStatus([&] {
              table.reset();
              return true;
            }),
            0);
  EXPECT_EQ(Ask(*table, kProcess), process);
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(ForkedChild, LeavesTheConnectionOfALoadToItsParent) {
  std::optional<LoadScope> scope(std::in_place);
  auto table = Facts();
  const std::string process = Ask(*table, kProcess);
  const std::string start = Ask(*table, "SELECT now()");
  const CapturedMessages messages;
  EXPECT_EQ(ChildsStatus([&] {
              scope.reset();
              table.reset();
              return true;
            }),
            0);
  EXPECT_EQ(Ask(*table, kProcess), process);
  EXPECT_EQ(Ask(*table, "SELECT now()"), start) << "the same transaction";
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(ForkedChild, ThatEndsInTheMiddleOfALoadLeavesItsConnectionToItsParent) {
  const LoadScope scope;  // holds the connection alone, until the thread ends
  const std::string process = Ask(*Facts(), kProcess);
  const CapturedMessages messages;
  EXPECT_EQ(ChildsStatus([] { return true; }), 0);
  EXPECT_EQ(Ask(*Facts(), kProcess), process);
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(ForkedChild, ThatAsksGetsAConnectionOfItsOwn) {
  for (const bool inLoad : {false, true}) {
    std::optional<LoadScope> scope;
    if (inLoad) { scope.emplace(); }
    const auto table = Facts();
    const std::string process = Ask(*table, kProcess);
    const CapturedMessages messages;
    EXPECT_EQ(ChildsStatus([&] {
                PGresult* result = nullptr;
                if (table->ExecuteSQL("SELECT 1", result)) { return false; }  // not on the parent's
                const std::string own = Ask(*table, kProcess);
                return own != process && Ask(*table, kProcess) == own && table->Load() && table->NRow() == 2;
              }),
              0);
    EXPECT_EQ(Ask(*table, kProcess), process);
    EXPECT_TRUE(messages.All().empty());
  }
}

}  // namespace
}  // namespace brio::dbi
