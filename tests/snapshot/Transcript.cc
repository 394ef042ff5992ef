#include "tests/snapshot/Transcript.h"

#include <cstring>
#include <regex>
#include <sstream>

#include "framework/exception.h"
#include "tests/faults/CompareRuns.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

/// Numbers so that no two different ones look the same.
class Text {
public:
  Text() { stream_ << std::hexfloat; }
  template <class Value>
  Text& operator<<(const Value& value) {
    stream_ << value << ' ';
    return *this;
  }
  Text& Line() {
    stream_ << '\n';
    return *this;
  }
  std::string Str() const { return stream_.str(); }

private:
  std::ostringstream stream_;
};

void AddBoard(Text& text, const RunHistory::FEB& feb) {
  text << feb.text << feb.isInstalled << feb.block << feb.plane << feb.modulePosition << feb.nEnabledPixels
       << feb.pixelEnableMask << feb.voltage << feb.isEnabled << feb.cooled << feb.temperatureEnabled
       << feb.temperature << feb.avgGain << "thresholds";
  for (const auto threshold : feb.thresholds) {
    text << threshold;
  }
  text << "gains";
  for (const float gain : feb.pixelGains) {
    text << gain;
  }
}

/// Whether two lists of floats are the same to the bit, also where == would not tell.
bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

bool SameFacts(const dbi::SettingsFacts& a, const dbi::SettingsFacts& b) {
  if (a.size() != b.size()) { return false; }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].size() != b[i].size()) { return false; }
    for (std::size_t j = 0; j < a[i].size(); ++j) {
      if (std::memcmp(&a[i][j], &b[i][j], sizeof(a[i][j])) != 0) { return false; }
    }
  }
  return true;
}

template <class Value>
std::string Answered(const Value& value, bool ok) {
  Text text;
  text << value << (ok ? "known" : "unknown");
  return text.Str();
}

std::string WithoutTimes(const std::string& text) {
  static const std::regex kTimes(R"([0-9.e+-]+ ms)");
  return std::regex_replace(text, kTimes, "some ms");
}

}  // namespace

const std::vector<Settings>& AllSettings() {
  const auto custom = [](int mask) {
    return [mask](RunHistory& run) {
      run.SetUseGoodDiBlockMask(true);
      run.SetUseCustomMask(true);
      run.SetCustomDiBlockMask(mask);
    };
  };
  static const std::vector<Settings> settings{
      {"none", [](RunHistory& run) { run.SetTimeQueries(true), run.SetTimeParsing(true); }},
      {"mask", [](RunHistory& run) { run.SetUseGoodDiBlockMask(true); }},
      {"analysis rule",
       [](RunHistory& run) {
         run.SetUseGoodDiBlockMask(true);
         run.SetApplyAnalysisMask(true);
       }},
      {"custom mask 0", custom(0)},
      {"custom mask 0x155", custom(0x155)},
      {"custom mask -1", custom(-1)},
      {"aborts",
       [](RunHistory& run) {
         run.SetUseGoodDiBlockMask(true);
         run.SetAbortIfNoMask(true);
         run.SetAbortIfRunMissing(true);
         run.SetAbortIfIncomplete(true);
       }},
  };
  return settings;
}

std::string Seen(const std::function<std::string()>& step) {
  CapturedOutput output;
  const CapturedMessages messages("debug");
  std::string answer;
  try {
    answer = step();
  } catch (const std::exception& error) { answer = std::string("threw ") + error.what(); }
  std::string seen = "answer: " + answer + "\noutput:\n" + output.StandardOutput() + "error:\n" +
                     output.StandardError() + "log:\n";
  for (const auto& message : messages.All()) {
    const bool mayHaveTime = message.text.find(" ms") != std::string::npos;
    seen += std::to_string(static_cast<int>(message.severity)) + ' ' + message.category + ": " +
            (mayHaveTime ? WithoutTimes(message.text) : message.text) + '\n';
  }
  return seen;
}

const std::vector<geo::OfflineChan>& Channels() {
  static const std::vector<geo::OfflineChan> channels{
      geo::OfflineChan(0, 0),    geo::OfflineChan(66, 17),   geo::OfflineChan(1, 33),
      geo::OfflineChan(64, 383), geo::OfflineChan(128, 31),  geo::OfflineChan(191, 95),
      geo::OfflineChan(200, 40), geo::OfflineChan(213, 0),   geo::OfflineChan(704, 5),
      geo::OfflineChan(705, 20), geo::OfflineChan(895, 383), geo::OfflineChan(900, 500)};
  return channels;
}

std::string AskChannel(RunHistory& run, const geo::OfflineChan& channel) {
  bool ok = false;
  std::string answers = Answered(run.GetThreshold(channel, ok), ok);
  answers += Answered(run.GetPixelGain(channel, ok), ok);
  answers += Answered(run.GetGain(channel, ok), ok);
  answers += Answered(run.HasAPD(channel), true);
  Text text;
  for (const float gain : run.GetPixelGains(channel, ok)) {
    text << gain;
  }
  AddBoard(text, run.GetFEB(channel, ok));
  return answers + text.Str() + Answered("", ok);
}

std::string AskRun(RunHistory& run) {
  Text text;
  text << run.NDCMs() << run.NLiveDCMs() << run.NAnalysisChannels() << run.GetConfiguration() << run.TStart()
       << run.TStop() << run.SubrunTStop(3);
  for (int diblock = -1; diblock < 17; ++diblock) {
    text << run.IsGoodDiBlock(diblock) << run.IsDiBlockFullyInstrumented(diblock);
  }
  return text.Str();
}

std::string AskDataQuality(RunHistory& run) {
  Text text;
  for (const auto& info : run.GetDQSubrunInfo()) {
    text << info.run << info.version << info.subrun << info.flag << info.miprate << info.ngooddb
         << info.numslc << info.trkfrac;
  }
  return text.Str();
}

Transcript TranscriptOf(const std::string& detector, int run, const Settings& settings) {
  dbi::gLocToFA.clear();
  RunHistory history(run, detector);
  settings.apply(history);
  std::string transcript;
  const auto add = [&](const char* name, const std::function<std::string()>& step) {
    transcript += std::string("== ") + name + '\n' + Seen(step);
  };
  const auto yesOrNo = [](bool yes) { return std::string(yes ? "true" : "false"); };
  for (int again = 0; again < 2; ++again) {
    add("POT", [&] { return yesOrNo(history.LoadPOT()); });
    add("record", [&] { return yesOrNo(history.LoadDAQRunHistory()); });
    add("mask", [&] { return yesOrNo(history.LoadGoodDiBlockMask()); });
    add("hardware", [&] { return yesOrNo(history.LoadHardwareInfo()); });
    add("configuration", [&] { return yesOrNo(history.LoadPixelInfo(0)); });
    add("settings", [&] { return yesOrNo(history.LoadAPDSettings()); });
    add("all", [&] { return yesOrNo(history.LoadAllDetInfo()); });
    add("data quality", [&] { return AskDataQuality(history); });
  }
  add("counts", [&] { return AskRun(history); });
  // All of them once: where a loader fails every question loads again.
  const bool isFirst = std::string(settings.name) == AllSettings().front().name;
  const std::vector<geo::OfflineChan> channels(Channels().begin(),
                                               isFirst ? Channels().end() : Channels().begin() + 2);
  for (const auto& channel : channels) {
    add("channel", [&] { return AskChannel(history, channel); });
  }
  add("dump", [&] {
    history.Dump();
    return std::string();
  });
  return {std::move(transcript), std::move(history), dbi::gLocToFA};
}

std::string FirstDifference(const Transcript& transcript, const Transcript& expected) {
  std::string difference = FirstDifference(transcript.text, expected.text);
  if (difference.empty()) { difference = FirstDifference(transcript.run, expected.run); }
  if (difference.empty()) { difference = FirstDifference(transcript.locations, expected.locations); }
  if (!difference.empty()) { return difference; }
  if (!SameFacts(transcript.run.GetSettingsFacts(), expected.run.GetSettingsFacts())) {
    return "settings facts";
  }
  const auto& diblocks = expected.run.GetDiBlocks();
  for (std::size_t d = 0; d < diblocks.size(); ++d) {
    for (std::size_t c = 0; c < diblocks[d].dcms.size(); ++c) {
      for (std::size_t port = 0; port < diblocks[d].dcms[c].febs.size(); ++port) {
        const auto& got = transcript.run.GetDiBlocks()[d].dcms[c].febs[port].pixelGains;
        if (!SameBits(got, diblocks[d].dcms[c].febs[port].pixelGains)) { return "the bits of a gain"; }
      }
    }
  }
  return {};
}

std::string FirstDifference(const std::string& text, const std::string& expected) {
  if (text == expected) { return {}; }
  std::istringstream lines(text);
  std::istringstream wanted(expected);
  std::string line;
  std::string want;
  for (int number = 1;; ++number) {
    const bool hasLine = static_cast<bool>(std::getline(lines, line));
    const bool hasWanted = static_cast<bool>(std::getline(wanted, want));
    if (!hasLine && !hasWanted) { return "only in the last line end"; }
    if (hasLine && hasWanted && line == want) { continue; }
    return "line " + std::to_string(number) + ": \"" + (hasLine ? line.substr(0, 2000) : "nothing") +
           "\" in place of \"" + (hasWanted ? want.substr(0, 2000) : "nothing") + '"';
  }
}

}  // namespace brio::test
