// The sample experiment's odd configurations and boards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class SampleConfiguration : public testing::Test {
protected:
  EnvironmentVariable database{"BRIO_DATABASE", server::Template("small")};
};

TEST_F(SampleConfiguration, ThatIsOnlyPartlyThereIsNotLoaded) {
  const struct {
    int run;
    std::vector<std::string> errors;
  } runs[] = {{13013, {"configuration 1010 has no thresholds for 168 of 168 DCMs, the first: dcm-2-01-01"}},
              {13014,
               {"configuration 1011 has no enable masks for 2 of 168 DCMs, the first: dcm-2-06-07",
                "configuration 1011 has no thresholds for 2 of 168 DCMs, the first: dcm-2-06-07"}},
              {13015,
               {"there is no configuration 9999 in daqconfig.configurations",
                "there is no configuration 9999 in daqconfig.configurations"}}};
  for (const auto& [number, errors] : runs) {
    SCOPED_TRACE(number);
    RunHistory run(number, "Birch");
    const CapturedMessages messages("error");
    CapturedOutput output;
    EXPECT_FALSE(run.LoadAllDetInfo());
    EXPECT_EQ(output.StandardError(), kNoValidData);
    EXPECT_EQ(messages.Texts(Severity::Error, "DAQConfiguration"), errors);
    EXPECT_EQ(run.NEnabledFEBs(), 0);
    EXPECT_EQ(run.NTotalChannels(), 0);
  }
}

TEST_F(SampleConfiguration, HasThresholdsFromTheEndsOfTheRange) {
  RunHistory run(13001, "Birch");
  const CapturedOutput output;
  const struct {
    unsigned int port;
    unsigned int pixel;
    int threshold;
  } pixels[] = {{0, 0, -1}, {0, 1, -32768}, {0, 2, 32767}, {0, 3, 4095}};
  for (const auto& [port, pixel, threshold] : pixels) {
    bool ok = false;
    EXPECT_EQ(run.GetThreshold(FarChannel(12, 8, port, pixel), ok), threshold);
    EXPECT_TRUE(ok);
  }
}

TEST_F(SampleConfiguration, HasPixelsAndBoardsThatAreOff) {
  RunHistory run(13001, "Birch");
  const CapturedOutput output;
  const struct {
    unsigned int port;
    unsigned int pixel;
    bool ok;
  } pixels[] = {{1, 30, true},  {1, 31, false},  {15, 30, false}, {15, 31, true},
                {42, 0, false}, {42, 31, false}, {63, 0, false},  {59, 0, true}};
  for (const auto& [port, pixel, expected] : pixels) {
    bool ok = !expected;
    run.GetThreshold(FarChannel(12, 8, port, pixel), ok);
    EXPECT_EQ(ok, expected) << "port " << port << ", pixel " << pixel;
  }
}

TEST_F(SampleConfiguration, ReplacesGainsThatAreTooFarFromNominal) {
  RunHistory run(13001, "Birch");
  const CapturedMessages messages("error");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  const auto& boards = run.GetDiBlocks().at(11).dcms.at(0).febs;
  EXPECT_EQ(boards[0].avgGain, 100.0F);
  EXPECT_EQ(boards[1].avgGain, 90.0F);
  EXPECT_EQ(boards[15].avgGain, 110.0F);
  EXPECT_EQ(boards[42].avgGain, 100.0F);
  const auto errors = messages.Texts(Severity::Error, "RunHistory");
  EXPECT_THAT(errors, Contains(HasSubstr("connected to dcm-2-12-1-0 is 89.9 : 100 expected")));
  EXPECT_THAT(errors, Contains(HasSubstr("connected to dcm-2-12-1-42 is 110.1 : 100 expected")));
  EXPECT_THAT(errors, testing::Not(Contains(HasSubstr("dcm-2-12-1-1 "))));
  EXPECT_THAT(errors, testing::Not(Contains(HasSubstr("dcm-2-12-1-15 "))));
  EXPECT_EQ(run.NInstrumentedFEBs(), static_cast<int>(dbi::gLocToFA.size()));
}

TEST_F(SampleConfiguration, OfTheNearDetectorKeepsNominalGains) {
  RunHistory run(11000, "Alder");
  const CapturedMessages messages("error");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAllDetInfo());
  int nCold = 0;
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      for (const auto& feb : dcm.febs) {
        EXPECT_EQ(feb.avgGain, 0.0F);
        EXPECT_EQ(feb.pixelGains, std::vector<float>(32, 100.0F));
        nCold += feb.temperature < -14.0F && feb.temperature > -16.0F ? 1 : 0;
      }
    }
  }
  EXPECT_GT(nCold, 800);
  EXPECT_EQ(run.NInstrumentedFEBs(), 626);
}

}  // namespace
}  // namespace brio::test
