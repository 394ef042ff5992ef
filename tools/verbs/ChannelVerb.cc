#include <cstdio>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "tools/shared/ChannelFacts.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/TerminalText.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

std::string Hexadecimal(std::uint32_t value) {
  std::ostringstream text;
  text << "0x" << std::hex << value;
  return text.str();
}

template <class T, class Show>
std::string Line(const char* label, const Fact<T>& fact, const Show& show) {
  std::string line = std::string("  ") + label;
  line.resize(16, ' ');
  if (!fact.value) { return line + "not known: " + Visible(fact.why) + '\n'; }
  return line + show(*fact.value) + (fact.why.empty() ? "" : ": " + Visible(fact.why)) + '\n';
}

std::string YesNo(bool yes) { return yes ? "yes" : "no"; }

std::string TextOf(const ChannelFacts& facts) {
  const auto& at = facts.address;
  const auto itself = [](const std::string& text) { return Visible(text); };
  std::ostringstream text;
  text << "Channel " << at.daqChannel << " (" << Hexadecimal(at.daqChannel) << ")\n"
       << "  readout       diblock " << at.diblock << ", DCM " << at.dcm << ", port " << at.port << ", pixel "
       << at.pixel << (facts.dcmName.empty() ? "" : " (" + Visible(facts.dcmName) + ")") << '\n'
       << "  offline       ";
  if (at.exists) {
    text << "plane " << at.plane << ", cell " << at.cell << '\n';
  } else {
    text << "nothing is read out there\n";
  }
  text << Line("installed", facts.installed, YesNo) << Line("FEB", facts.febSerial, itself)
       << Line("APD", facts.apdSerial, itself) << Line("enabled", facts.enabled, YesNo)
       << Line("threshold", facts.threshold, [](int value) { return std::to_string(value) + " ADC counts"; })
       << Line("gain", facts.gain, [](float value) { return Shortest(value); })
       << Line("voltage", facts.voltage, [](int value) { return std::to_string(value) + " V"; })
       << Line("temperature", facts.temperature, [](float value) { return Shortest(value) + " °C"; })
       << "  diblock       " << (facts.isGood ? "good, or no mask is in use" : "bad by the mask") << '\n';
  return text.str();
}

Json ValueOf(bool value) { return value; }
Json ValueOf(int value) { return value; }
Json ValueOf(float value) { return ShortestValue(value); }
Json ValueOf(const std::string& value) { return value; }

Json JsonOf(const ChannelFacts& facts) {
  const auto& at = facts.address;
  Json object{{"channel", at.daqChannel},
              {"diblock", at.diblock},
              {"dcm", at.dcm},
              {"port", at.port},
              {"pixel", at.pixel},
              {"plane", at.exists ? Json(at.plane) : Json()},
              {"cell", at.exists ? Json(at.cell) : Json()},
              {"good_diblock", facts.isGood}};
  Json status = Json::object();
  Json why = Json::object();
  const auto add = [&](const char* key, const auto& fact) {
    object[key] = fact.value ? ValueOf(*fact.value) : Json();
    status[key] = arrays::NameOf(fact.status);
    if (!fact.why.empty()) { why[key] = fact.why; }
  };
  add("installed", facts.installed);
  add("feb", facts.febSerial);
  add("apd", facts.apdSerial);
  add("enabled", facts.enabled);
  add("threshold", facts.threshold);
  add("gain", facts.gain);
  add("voltage", facts.voltage);
  add("temperature", facts.temperature);
  if (facts.measuredGain) { object["measured_gain"] = ShortestValue(*facts.measuredGain); }
  object["status"] = std::move(status);
  if (!why.empty()) { object["why"] = std::move(why); }
  return object;
}

/// Answers channel after channel, loading the run at the first.
class Answers {
public:
  explicit Answers(const Options& options) : options_(options), history_(options.run, options.detector) {
    ApplyTo(history_, options);
  }

  /// `where` says where the text was found, for a complaint about it.
  void Ask(const std::string& text, const std::string& where) {
    std::string why;
    const auto address = ParseChannel(text, history_.GetDetectorId(), why);
    if (!address) {
      console::Say("runhistory: " + where + "channel \"" + text + "\": " + why);
      status_ = kWrongUsage;
      return;
    }
    if (!isLoaded_) {
      parts_ = LoadParts(history_, Depth::Settings);
      isLoaded_ = true;
    }
    if (!parts_.run.ok) { return; }
    const auto facts = AskAbout(history_, parts_, *address);
    if (options_.json) {
      list_.push_back(JsonOf(facts));
    } else {
      console::Answer() << TextOf(facts) << std::flush;
    }
  }

  ExitStatus Finish() {
    const Outcome& deepest = parts_.UpTo(Depth::Settings);
    const bool isClean = !isLoaded_ || deepest.IsClean();
    if (options_.json && (!isLoaded_ || parts_.run.ok)) {
      Json answer{{"detector", options_.detector}, {"run", options_.run}, {"channels", list_}};
      if (!isClean) { answer["reason"] = deepest.reason; }
      console::Answer() << JsonText(answer) << '\n';
    }
    if (isClean) { return status_; }
    SayUnavailable(history_, deepest.reason);
    return status_ == kAnswered ? kUnavailable : status_;
  }

private:
  const Options& options_;
  RunHistory history_;
  bool isLoaded_ = false;
  LoadedParts parts_;
  Json list_ = Json::array();
  ExitStatus status_ = kAnswered;
};

void AskStandardInput(Answers& answers) {
  std::string line;
  for (int number = 1; std::getline(std::cin, line); ++number) {
    const auto begin = line.find_first_not_of(" \t\r");
    if (begin == std::string::npos) { continue; }
    const auto end = line.find_last_not_of(" \t\r");
    answers.Ask(line.substr(begin, end - begin + 1), "line " + std::to_string(number) + ": ");
  }
  if (std::ferror(stdin) != 0) { throw std::runtime_error("cannot read standard input"); }
}

}  // namespace

Action PrepareChannel(CLI::App& command, const Options& options) {
  RequireRun(command);
  auto channels = std::make_shared<std::vector<std::string>>();
  command
      .add_option("channels", *channels,
                  "DAQ channel ids, plane,cell or diblock/DCM/port/pixel; without any, one a line from "
                  "standard input")
      ->type_name("CHANNEL");
  return [channels, &options] {
    Answers answers(options);
    for (const auto& text : *channels) {
      answers.Ask(text, "");
    }
    if (channels->empty()) { AskStandardInput(answers); }
    return answers.Finish();
  };
}

}  // namespace brio::tools
