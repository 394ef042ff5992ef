#include "database/Wait.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "database/Connect.h"
#include "tests/database/SilentHost.h"

namespace brio::dbi {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// No std::exception, as what passes through loads must be told from their failures.
struct GivenUp {};

/// An observer while it lives.
class Observed {
public:
  explicit Observed(WaitObserver observer) { SetWaitObserver(std::move(observer)); }
  ~Observed() { SetWaitObserver({}); }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
};

TEST(WaitObserver, IsCalledWhileASocketIsSilent) {
  const test::SilentHost host;
  int calls = 0;
  const Observed observed([&calls] {
    if (++calls == 5) { throw GivenUp(); }
  });
  const std::string silent = "host=" + host.Folder() + " connect_timeout=600";
  EXPECT_THROW(Connect(silent, 0), GivenUp);
  EXPECT_EQ(calls, 5);
}

TEST(WaitObserver, IsCalledBetweenTries) {
  std::atomic<int> calls{0};
  const Observed observed([&calls] {
    if (++calls == 3) { throw GivenUp(); }
  });
  EXPECT_THROW(Connect("host=/nonexistent", 1000), GivenUp);
}

TEST(WaitObserver, DoesNotShortenAWait) {
  int calls = 0;
  const Observed observed([&calls] { ++calls; });
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(WaitForSocket(ends[0], WaitFor::Read, milliseconds(160)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(160));
  EXPECT_GE(calls, 2);
  EXPECT_TRUE(WaitForSocket(ends[1], WaitFor::Write, milliseconds(0)));
  Pause(milliseconds(120));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(280));
  close(ends[0]);
  close(ends[1]);
}

TEST(WaitObserver, IsNotCalledOnceItIsRemoved) {
  {
    const Observed observed([] { throw GivenUp(); });
  }
  EXPECT_NO_THROW(Pause(milliseconds(1)));
}

}  // namespace
}  // namespace brio::dbi
