#include "RunHistory/ProgressOutput.h"

#include <iostream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::CapturedOutput;
using testing::HasSubstr;
using testing::IsEmpty;

class ProgressOutput : public testing::Test {
protected:
  ~ProgressOutput() override { SetProgressOutput(&std::cout); }

  /// Loads what writes every kind of progress line, and gives what reached standard output.
  static std::string OutputOfLoads() {
    const CapturedMessages messages("error");
    CapturedOutput output;
    RunHistory run(13010, "Birch");
    run.SetUseGoodDiBlockMask(true);
    run.SetApplyAnalysisMask(true);
    run.LoadAllDetInfo();
    RunHistory(5, "Birch").LoadAllDetInfo();
    RunHistory custom(13010, "Birch");
    custom.SetUseGoodDiBlockMask(true);
    custom.SetUseCustomMask(true);
    custom.LoadGoodDiBlockMask();
    RunHistory unmasked(13008, "Birch");
    unmasked.SetUseGoodDiBlockMask(true);
    unmasked.LoadGoodDiBlockMask();
    RunHistory empty(13007, "Birch");
    empty.SetUseGoodDiBlockMask(true);
    empty.LoadGoodDiBlockMask();
    return output.StandardOutput();
  }

  test::EnvironmentVariable address_{"BRIO_DATABASE", test::server::Template("small")};
};

TEST_F(ProgressOutput, IsStandardOutputUnlessItWasSet) {
  const auto lines = OutputOfLoads();
  for (const auto* line : {"Looks like a MC run number - assume perfect + any mask\n",
                           "RunHistory: Loading FEB and APD installation information\n",
                           "RunHistory: loading pixel thresholds\n", "Pull APD Info from DB\n",
                           "Applying analysis diblock masking: mask modified from ######-##-#### to ",
                           "RunHistory: Applying custom mask: --------------\n",
                           "WARNING: RunHistory::LoadGoodDiBlockMask(): No",
                           "WARNING: entire detector masked off by analysis requirements!\n"}) {
    EXPECT_THAT(lines, HasSubstr(line));
  }
}

TEST_F(ProgressOutput, MayBeAnotherStreamOrNone) {
  const auto lines = OutputOfLoads();
  std::ostringstream other;
  SetProgressOutput(&other);
  EXPECT_THAT(OutputOfLoads(), IsEmpty());
  EXPECT_EQ(other.str(), lines);
  SetProgressOutput(nullptr);
  EXPECT_THAT(OutputOfLoads(), IsEmpty());
  EXPECT_EQ(other.str(), lines);
}

}  // namespace
}  // namespace brio::dbi
