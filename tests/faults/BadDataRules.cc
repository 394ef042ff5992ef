#include "tests/faults/BadDataRules.h"

#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include <gmock/gmock.h>
#include <boost/lexical_cast.hpp>

#include "RunHistory/NumberText.h"
#include "tests/RunHistory/Peer.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using dbi::RunHistoryTestPeer;

bool IsNull(const StoredValue& value) { return value.text == "\\N"; }

template <class T>
bool Same(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) { return a == b || (std::isnan(a) && std::isnan(b)); }
  return a == b;
}

/// The rule of Column::Get: the whole text is a number, or a line is written and nothing changes.
template <class T>
void CheckConverted(const StoredValue& value, T got, T whenAbsent, const std::string& error) {
  std::optional<T> expected;
  if (!IsNull(value)) {
    try {
      expected = boost::lexical_cast<T>(value.text);
    } catch (const boost::bad_lexical_cast&) { expected.reset(); }
  }
  EXPECT_TRUE(Same(got, expected.value_or(whenAbsent))) << got << " for " << value.text.substr(0, 60);
  const bool reported =
      error.find("Column::Get(): Bad_lexical_cast! Value = " + value.text + "\n") != std::string::npos;
  EXPECT_EQ(reported, !IsNull(value) && !expected);
}

void CheckText(const StoredValue& value, const std::string& got, const std::string& whenAbsent) {
  EXPECT_TRUE(got == (IsNull(value) ? whenAbsent : value.text)) << got.substr(0, 60);
}

const dbi::DQSubrunInfo& Quality(const RunHistory& run) {
  static const dbi::DQSubrunInfo kNone;
  const auto& records = RunHistoryTestPeer::CachedDQSubrunInfo(run);
  return records.empty() ? kNone : records.front();
}

/// The hardware on diblock 1, DCM 1, port 0, whose test results the first rows hold.
std::pair<dbi::FEBInfo, dbi::APDInfo> FirstHardware() {
  const auto found = dbi::gLocToFA.find(dbi::HardwareLocation{2, 1, 1, 0});
  EXPECT_TRUE(found != dbi::gLocToFA.end());
  return found != dbi::gLocToFA.end() ? found->second : std::pair<dbi::FEBInfo, dbi::APDInfo>();
}

/// The rule of atoi and atof: the number that the text begins with, 0 without one and for NULL.
int Whole(const StoredValue& value) { return IsNull(value) ? 0 : dbi::IntegerIn(value.text); }
float Real(const StoredValue& value) { return IsNull(value) ? 0.0F : dbi::FloatIn(value.text.c_str()); }

void CheckStart(const StoredValue& value, RunHistory& run, const std::string& outcome) {
  CheckText(value, run.TStartAsString(), "2010-01-01 00:00:00");
  // The text goes into the hardware statements as it stands, or not at all: only a time gets through.
  const bool goesThrough = IsNull(value) || value.text == "infinity" || value.text == "99999-12-31 00:00:00";
  EXPECT_EQ(outcome.find("load false") == std::string::npos, goesThrough) << outcome;
}

void CheckApplicationName(const StoredValue& value, RunHistory& run, const std::string& outcome) {
  const bool tooShort = IsNull(value) || value.text.size() < 9;
  EXPECT_EQ(outcome.find("load throws std::out_of_range") != std::string::npos, tooShort) << outcome;
  if (!tooShort) { EXPECT_EQ(RunHistoryTestPeer::NDCMs(run), 2U) << "every DCM row counts"; }
}

void CheckSlope(const StoredValue& value) {
  const float slope = Real(value);
  EXPECT_TRUE(Same(FirstHardware().first.hvFitSlope, slope == 0.0F ? 0.02586F : slope));
}

}  // namespace

void CheckRule(const StoredValue& value, RunHistory& run, const std::string& outcome,
               const std::string& error) {
  using Rule = std::function<void()>;
  const std::map<std::string, Rule> rules{
      {"daq.runs.tstart", [&] { CheckStart(value, run, outcome); }},
      {"daq.runs.tstop", [&] { CheckText(value, run.TStopAsString(), ""); }},
      {"daq.runs.configid", [&] { CheckConverted<long long>(value, run.GetConfigId(), 0, error); }},
      {"daq.runs.nsubruns", [&] { CheckConverted<int>(value, run.NSubruns(), 0, error); }},
      {"daq.runs.nactivechan", [&] { CheckConverted<int>(value, run.NActiveChannels(), 0, error); }},
      {"daq.runs.partition", [&] { CheckConverted<int>(value, run.GetPartition(), -1, error); }},
      {"daq.runs.runtype", [&] { CheckText(value, run.GetRunType(), ""); }},
      {"daq.daqresourcesbyrun.appname", [&] { CheckApplicationName(value, run, outcome); }},
      {"daq.daqresourcesbyrun.resource_type",
       [&] { EXPECT_EQ(RunHistoryTestPeer::NDCMs(run), 1U) << "a row of another type changes nothing"; }},
      {"daq.daqresourcesbyrun.detector", [&] { EXPECT_EQ(RunHistoryTestPeer::NDCMs(run), 1U); }},
      {"dataquality.gooddiblocksvsrun.dbmask",
       [&] { CheckConverted<int>(value, run.GetGoodDiBlockMask(), 0, error); }},
      {"beam.potbyrun.npot", [&] { CheckConverted<float>(value, run.GetTotalPOT(), 0.0F, error); }},
      {"dataquality.dqsubruninfo.flag",
       [&] { CheckConverted<int>(value, Quality(run).flag, dbi::DQSubrunInfo().flag, error); }},
      {"dataquality.dqsubruninfo.miprate",
       [&] { CheckConverted<float>(value, Quality(run).miprate, dbi::DQSubrunInfo().miprate, error); }},
      {"dataquality.dqsubruninfo.ngooddb",
       [&] { CheckConverted<int>(value, Quality(run).ngooddb, dbi::DQSubrunInfo().ngooddb, error); }},
      {"dataquality.dqsubruninfo.numslc",
       [&] { CheckConverted<float>(value, Quality(run).numslc, dbi::DQSubrunInfo().numslc, error); }},
      {"dataquality.dqsubruninfo.trkfrac",
       [&] { CheckConverted<float>(value, Quality(run).trkfrac, dbi::DQSubrunInfo().trkfrac, error); }},
      {"public.apd_stats.batch_no", [&] { EXPECT_EQ(FirstHardware().second.batchNo, Whole(value)); }},
      {"public.apd_stats.target_degc", [&] { EXPECT_EQ(FirstHardware().second.targetDegC, Whole(value)); }},
      {"public.apd_stats.vr", [&] { EXPECT_TRUE(Same(FirstHardware().second.vr, Real(value))); }},
      {"public.feb_test_summary.hvfitintercept",
       [&] { EXPECT_TRUE(Same(FirstHardware().first.hvFitIntercept, Real(value))); }},
      {"public.feb_test_summary.hvfitslope", [&] { CheckSlope(value); }},
  };
  const auto rule = rules.find(value.column);
  if (rule != rules.end()) { rule->second(); }
}

}  // namespace brio::test
