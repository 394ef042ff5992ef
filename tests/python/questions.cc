// Asks RunHistory about every channel and board of a run, one by one, and writes the answers as numbers:
//
//   python_questions DETECTOR RUN [mask]
//
// First the number of channels and of boards, then of each channel: threshold, whether that is real, gain,
// whether that is real, whether there is an APD; then of each board (asked by its first channel): gain,
// voltage, temperature, temperature control, enabled pixels, whether all that is real, whether the two
// serials are known. All are doubles, to standard output.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "arrays/Answers.h"
#include "arrays/Layout.h"
#include "framework/MessageLogger.h"

int main(int count, char** words) {
  if (count < 3) { return 2; }
  brio::dbi::SetProgressOutput(nullptr);
  brio::messagelogger::SetLevels("off");
  brio::dbi::RunHistory run(std::atoi(words[2]), words[1]);
  run.SetUseGoodDiBlockMask(count > 3);
  const auto& channels = brio::arrays::ChannelsOf(run.GetDetectorId());
  const auto& boards = brio::arrays::BoardsOf(run.GetDetectorId());
  std::vector<double> answers{static_cast<double>(channels.size()), static_cast<double>(boards.size())};
  const auto add = [&answers](auto answer) { answers.push_back(static_cast<double>(answer)); };
  run.LoadAllDetInfo();
  for (const auto& channel : channels) {
    bool ok = false;
    add(run.GetThreshold(channel.daqChannel, ok));
    add(ok);
    add(run.GetPixelGain(channel.daqChannel, ok));
    add(ok);
    add(run.HasAPD(channel.daqChannel));
  }
  for (std::size_t i = 0; i < boards.size(); ++i) {
    const unsigned int channel = channels[i * brio::arrays::kPixels].daqChannel;
    bool ok = false;
    add(run.GetGain(channel, ok));
    const auto feb = run.GetFEB(channel, ok);
    add(feb.voltage);
    add(feb.temperature);
    add(feb.temperatureEnabled);
    add(feb.nEnabledPixels);
    add(ok);
    add(brio::arrays::FEBSerial(run, channel).has_value());
    add(brio::arrays::APDSerial(run, channel).has_value());
  }
  const bool isWritten =
      std::fwrite(answers.data(), sizeof(double), answers.size(), stdout) == answers.size();
  return isWritten && std::fflush(stdout) == 0 ? 0 : 1;
}
