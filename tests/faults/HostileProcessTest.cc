// Loads in a process that is badly off: signals without end, no descriptors left.
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/faults/Descriptors.h"
#include "tests/faults/HostileQuestions.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

volatile std::sig_atomic_t signals = 0;
extern "C" void CountSignal(int /*signal*/) { signals = signals + 1; }

/// Interrupts the process every millisecond while it lives; system calls are not begun again.
class Interruptions {
public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = CountSignal;
    sigaction(SIGALRM, &action, &before_);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  }
  ~Interruptions() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

private:
  struct sigaction before_ {};
};

/// Lets the process have only so many more descriptors while it lives.
class FewDescriptors {
public:
  explicit FewDescriptors(rlim_t more) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int lowestFree = dup(STDIN_FILENO);
    close(lowestFree);
    const rlimit few{static_cast<rlim_t>(lowestFree) + more, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
  rlimit before_{};
};

class HostileProcess : public testing::Test {
protected:
  HostileProcess() {
    std::ifstream file(BRIO_FAULTS_FOLDER "/mini_experiment.sql");
    std::ostringstream text;
    text << file.rdbuf();
    scratch_.Execute(text.str());
    questions_->Remember();
  }

  std::string Ask(RunHistory& run) const {
    const CapturedOutput output;
    const CapturedMessages messages;
    return questions_->Ask(run);
  }

  const ScratchDatabases scratch_{"empty"};
  const EnvironmentVariable database_{"BRIO_DATABASE", scratch_.Template()};
  const std::unique_ptr<HostileQuestions> questions_ = WholeLoad(13000, "Birch");
};

TEST_F(HostileProcess, InterruptedEveryMillisecondLoadsTheSame) {
  signals = 0;
  const Interruptions interruptions;
  for (int i = 0; i < 1000 && signals < 200; ++i) {
    RunHistory run = questions_->Fresh();
    ASSERT_EQ(Ask(run), "true");
    ASSERT_TRUE(questions_->IsComplete(run));
  }
  EXPECT_GE(signals, 200);
}

// The undefined-behaviour sanitizer asks a pipe whether memory may be read, and has none without descriptors.
#if defined(__has_feature)
#define BRIO_NEEDS_DESCRIPTORS __has_feature(undefined_behavior_sanitizer)
#else
#define BRIO_NEEDS_DESCRIPTORS 0
#endif
#if !BRIO_NEEDS_DESCRIPTORS

TEST_F(HostileProcess, WithoutDescriptorsFailsAndLoadsOnceThereAreSome) {
  const auto descriptors = OpenDescriptors();
  std::string last;
  for (rlim_t more = 0; more <= 8; ++more) {
    SCOPED_TRACE(std::to_string(more) + " descriptors");
    RunHistory run = questions_->Fresh();
    dbi::gLocToFA = questions_->Map();
    {
      // Made first, since they need descriptors themselves.
      const CapturedOutput output;
      const CapturedMessages messages;
      const FewDescriptors few(more);
      last = questions_->Ask(run);
    }
    std::cout << "  " << more << " descriptors: " << last << "\n";
    if (last == "true") {
      EXPECT_EQ(questions_->Wrong(run, last), "");
      if (!questions_->IsComplete(run)) { run.InvalidateCaches(); }
    }
    EXPECT_EQ(Ask(run), "true");
    EXPECT_TRUE(questions_->IsComplete(run, false));
    EXPECT_EQ(OpenDescriptors(), descriptors);
  }
  EXPECT_EQ(last, "true");
}

#endif  // !BRIO_NEEDS_DESCRIPTORS

}  // namespace
}  // namespace brio::test
