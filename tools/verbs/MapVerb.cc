#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "tools/maps/BoardMapForms.h"
#include "tools/shared/Console.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

struct MapOptions {
  std::string quantity;
  std::string format = "text";
  std::string file;
};

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

std::string Form(const BoardMap& map, const MapOptions& mapOptions, const Options& options) {
  if (options.json || mapOptions.format == "json") { return JsonText(JsonForm(map), -1) + '\n'; }
  if (mapOptions.format == "csv") { return CsvForm(map); }
  if (mapOptions.format == "svg") { return SvgForm(map); }
  return TextForm(map, mapOptions.file.empty() && UsesColor(options));
}

void WriteTo(const std::string& file, const std::string& text) {
  if (file.empty()) {
    console::Answer() << text;
    return;
  }
  std::ofstream stream(file, std::ios::binary);
  stream << text << std::flush;
  if (!stream) { throw std::runtime_error("cannot write " + file + ": " + std::strerror(errno)); }
}

ExitStatus DrawMap(const MapOptions& mapOptions, const Options& options) {
  const QuantityInfo& quantity = QuantityNamed(mapOptions.quantity);
  RunHistory history(options.run, options.detector);
  ApplyTo(history, options);
  const LoadedParts parts = LoadParts(history, quantity.depth);
  const Outcome& outcome = parts.UpTo(quantity.depth);
  std::string reason = outcome.ok ? WhyNotKnown(history, quantity) : outcome.reason;
  if (!reason.empty()) {
    SayUnavailable(history, reason);
    return kUnavailable;
  }
  const BoardMap map = MakeBoardMap(arrays::MakeBoards(history, parts), quantity);
  WriteTo(mapOptions.file, Form(map, mapOptions, options));
  if (outcome.IsClean()) { return kAnswered; }
  SayUnavailable(history, outcome.reason);
  return kUnavailable;
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
  command.add_option("--format", mapOptions->format, "The form of the answer; text unless given")
      ->check(CLI::IsMember({"text", "svg", "csv", "json"}));
  command.add_option("-o,--output", mapOptions->file, "Write to this file in place of standard output")
      ->type_name("FILE");
  return [mapOptions, &options] { return DrawMap(*mapOptions, options); };
}

}  // namespace brio::tools
