#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <optional>

#include "tools/maps/AboutRun.h"
#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ChannelMap.h"
#include "tools/maps/PictureFile.h"
#include "tools/shared/Console.h"
#include "tools/shared/OutputFile.h"
#include "tools/shared/TerminalText.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

struct MapOptions {
  std::string quantity;
  std::string view;
  bool channels = false;
  std::optional<int> minus;
  ScaleChoice scale;
  std::string format;
  std::string file = "-";
};

constexpr std::array kForms{"text", "svg", "png", "pdf", "csv", "json"};

bool IsRendered(const std::string& form) { return form == "png" || form == "pdf"; }

/// Why a quantity cannot be had though the run can; empty when it can.
std::string WhyNotKnown(const RunHistory& history, const QuantityInfo& quantity) {
  const std::string name = quantity.name;
  if (history.IsMC()) {
    return quantity.quantity == Quantity::Installed
               ? ""
               : "a simulated run has no DAQ configuration and no settings, so no map of " + name;
  }
  if (!IsHardwareRecorded(history.GetDetectorId())) { return "no hardware is recorded for this detector"; }
  if (quantity.quantity == Quantity::Gain && history.GetDetectorId() != briodaq::cnv::Birch) {
    return "gains are recorded for Birch only";
  }
  return {};
}

/// By --json, --format or the ending of the file's name; nothing for an ending that no form has.
std::optional<std::string> FormOf(const MapOptions& mapOptions, const Options& options) {
  if (options.json) { return "json"; }
  if (!mapOptions.format.empty()) { return mapOptions.format; }
  const std::string ending = EndingOf(mapOptions.file);
  if (ending.empty() || ending == "txt") { return "text"; }
  const auto isForm = std::find(kForms.begin(), kForms.end(), ending) != kForms.end();
  return isForm ? std::optional(ending) : std::nullopt;
}

std::string Draw(const BoardMap& map, MapStyle style, const std::string& form, bool colored) {
  if (form == "json") { return JsonForm(map) + '\n'; }
  if (form == "csv") { return CsvForm(map); }
  if (form == "svg") { return SvgForm(map, style); }
  if (!IsRendered(form)) { return TextForm(map, style, colored); }
  style.hasTooltips = false;
  style.isForRenderer = true;
  return Rendered(SvgForm(map, style), form);
}

/// What is wrong with the options taken together; empty when nothing is.
std::string WhyWrong(const MapOptions& asked, const Options& options,
                     const std::optional<std::string>& form) {
  if (!form) {
    return '"' + asked.file +
           "\" ends in none of .txt, .svg, .png, .pdf, .csv and .json; --format names the form";
  }
  const bool isYesNo = asked.quantity == "installed" || asked.quantity == "enabled";
  if (isYesNo && (asked.scale.min || asked.scale.max)) {
    return asked.quantity + " is yes or no and has no scale for --min and --max";
  }
  if (asked.scale.min && asked.scale.max && *asked.scale.min >= *asked.scale.max) {
    return "--min must be less than --max";
  }
  if (asked.channels && asked.view == "readout") {
    return "channels are drawn by plane and cell: --view geometry";
  }
  if (asked.channels && *form == "text") {
    return "a map of channels is no text; --format or the file's ending chooses svg, png, pdf, csv or json";
  }
  if (asked.minus == options.run) { return "the run differs from itself in nothing; --minus takes another"; }
  if (IsRendered(*form) && asked.file == "-" && console::IsTerminal(STDOUT_FILENO)) {
    return "a terminal shows no " + *form + "; -o names a file";
  }
  return {};
}

/// A run's map, as far as it can be had.
struct RunMap {
  std::optional<BoardMap> map;
  bool isClean = false;
};

/// What could not be had is told to standard error.
RunMap MapOfRun(int run, const QuantityInfo& quantity, bool channels, const Options& options) {
  RunHistory history(run, options.detector);
  ApplyTo(history, options);
  const LoadedParts parts = LoadParts(history, quantity.depth);
  const Outcome& outcome = parts.UpTo(quantity.depth);
  std::string reason = outcome.ok ? WhyNotKnown(history, quantity) : outcome.reason;
  RunMap made;
  made.isClean = outcome.IsClean() && reason.empty();
  if (reason.empty()) {
    const auto boards = arrays::MakeBoards(history, parts);
    made.map = channels ? MakeChannelMap(arrays::MakeChannels(history, parts), boards, quantity)
                        : MakeBoardMap(boards, quantity);
    made.map->about.push_back(AboutRun(history, options));
    reason = outcome.reason;
  }
  if (!made.isClean) { SayUnavailable(history, reason); }
  return made;
}

ExitStatus DrawMap(const MapOptions& mapOptions, const Options& options) {
  const QuantityInfo& quantity = QuantityNamed(mapOptions.quantity);
  const auto form = FormOf(mapOptions, options);
  const std::string wrong = WhyWrong(mapOptions, options, form);
  if (!wrong.empty()) {
    console::Say("runhistory: " + Visible(wrong));
    return kWrongUsage;
  }
  if (IsRendered(*form)) {
    const std::string reason = WhyNotRendered(*form);
    if (!reason.empty()) {
      console::Say("runhistory: " + reason);
      return kUnavailable;
    }
  }
  OutputFile file(mapOptions.file);
  RunMap made = MapOfRun(options.run, quantity, mapOptions.channels, options);
  bool isClean = made.isClean;
  if (mapOptions.minus) {
    const RunMap minus = MapOfRun(*mapOptions.minus, quantity, mapOptions.channels, options);
    isClean = isClean && minus.isClean;
    if (!minus.map) { return kUnavailable; }
    if (made.map) { made.map = Difference(*made.map, *minus.map); }
  }
  if (!made.map) { return kUnavailable; }
  MapStyle style;
  style.view = mapOptions.view == "geometry" || mapOptions.channels ? View::Geometry : View::Readout;
  style.scale = mapOptions.scale;
  file.Stream() << Draw(*made.map, style, *form, mapOptions.file == "-" && UsesColor(options));
  file.Keep();
  return isClean ? kAnswered : kUnavailable;
}

}  // namespace

Action PrepareMap(CLI::App& command, const Options& options) {
  RequireRun(command);
  auto mapOptions = std::make_shared<MapOptions>();
  std::vector<std::string> names;
  for (const auto& quantity : Quantities()) {
    names.emplace_back(quantity.name);
  }
  command.add_option("quantity", mapOptions->quantity, "What to draw of each board")
      ->type_name("QUANTITY")
      ->required()
      ->check(CLI::IsMember(names));
  command
      .add_option("--view", mapOptions->view,
                  "Where boards stand: as they are read out, which is the default, or by plane and cell")
      ->type_name("VIEW")
      ->check(CLI::IsMember(ViewNames()));
  command.add_flag("--channels", mapOptions->channels, "Draw each channel, by plane and cell");
  command.add_option("--minus", mapOptions->minus, "Draw by how much the run differs from this one")
      ->type_name("RUN");
  const auto isFinite = [](const std::string& text) {
    double number = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
    return isNumber ? std::string() : '"' + Visible(text) + "\" is no number";
  };
  command.add_option("--min", mapOptions->scale.min, "Where the scale of colours begins")
      ->type_name("X")
      ->check(isFinite);
  command.add_option("--max", mapOptions->scale.max, "Where it ends")->type_name("X")->check(isFinite);
  command
      .add_option_function<std::string>(
          "--palette",
          [mapOptions](const std::string& name) { mapOptions->scale.palette = PaletteNamed(name); },
          "The colours; cividis unless given, of a difference blue-orange")
      ->type_name("PALETTE")
      ->check(CLI::IsMember(PaletteNames()));
  command
      .add_option("--format", mapOptions->format, "The form, whatever the file's ending; text unless given")
      ->check(CLI::IsMember(std::vector<std::string>(kForms.begin(), kForms.end())));
  command
      .add_option("-o,--output", mapOptions->file,
                  "Write to this file, in the form that its ending names; - for standard output, as without")
      ->type_name("FILE");
  TakeRunAsArgument(command);
  return [mapOptions, &options] { return DrawMap(*mapOptions, options); };
}

}  // namespace brio::tools
