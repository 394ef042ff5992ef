#include <algorithm>
#include <memory>
#include <ostream>

#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/TerminalText.h"
#include "tools/verbs/RunDifference.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct DiffOptions {
  int before = 0;
  int after = 0;
  bool full = false;
};

// How many names of a list are shown without --full.
constexpr std::size_t kShown = 8;

std::string Names(const std::vector<std::string>& names, bool full) {
  std::string text;
  const std::size_t count = full ? names.size() : std::min(names.size(), kShown);
  for (std::size_t i = 0; i < count; ++i) {
    text += " " + Visible(names[i]);
  }
  return count < names.size() ? text + " …" : text;
}

void WriteSet(std::ostream& text, const std::string& label, const ChangedSet& changed,
              const DiffOptions& options) {
  std::string padded = "  " + label;
  padded.resize(18, ' ');
  if (changed.IsEmpty()) {
    text << padded << "no change\n";
    return;
  }
  text << padded << changed.onlyBefore.size() << " gone, " << changed.onlyAfter.size() << " new\n";
  if (!changed.onlyBefore.empty()) {
    text << "    only in " << options.before << ":" << Names(changed.onlyBefore, options.full) << '\n';
  }
  if (!changed.onlyAfter.empty()) {
    text << "    only in " << options.after << ":" << Names(changed.onlyAfter, options.full) << '\n';
  }
}

std::string TextOf(const RunDifference& difference, const std::string& detector, const DiffOptions& options) {
  std::ostringstream text;
  text << "Runs " << options.before << " and " << options.after << " of " << detector << '\n';
  for (const auto& fact : difference.facts) {
    std::string label = "  " + fact.name;
    label.resize(18, ' ');
    text << label << Visible(fact.before) << " -> " << Visible(fact.after) << '\n';
  }
  WriteSet(text, "DCMs", difference.dcms, options);
  WriteSet(text, "event builders", difference.eventBuilders, options);
  WriteSet(text, "installed", difference.installed, options);
  if (!difference.notCompared.empty()) {
    text << "  enabled         not compared: " << difference.notCompared << '\n'
         << "  thresholds      not compared: " << difference.notCompared << '\n';
    return text.str();
  }
  WriteSet(text, "enabled", difference.enabled, options);
  text << "  thresholds      " << difference.thresholds.size() << " of " << difference.comparedThresholds
       << " differ\n";
  if (options.full) {
    for (const auto& changed : difference.thresholds) {
      text << "    " << changed.diblock << '/' << changed.dcm << '/' << changed.port << '/' << changed.pixel
           << ": " << changed.before << " -> " << changed.after << '\n';
    }
  }
  for (const auto& quantity : difference.quantities) {
    std::string label = std::string("  ") + quantity.name;
    label.resize(18, ' ');
    text << label << quantity.changed.size() << " of " << quantity.compared << " boards differ";
    if (quantity.knownInOneOnly > 0) {
      text << ", " << quantity.knownInOneOnly << " are known in one run only";
    }
    text << '\n';
    if (!options.full) { continue; }
    for (const auto& changed : quantity.changed) {
      text << "    " << changed.board << ": " << Visible(changed.before) << " -> " << Visible(changed.after)
           << '\n';
    }
  }
  return text.str();
}

Json JsonOf(const ChangedSet& changed) {
  return {{"only_before", changed.onlyBefore}, {"only_after", changed.onlyAfter}};
}

Json JsonOf(const RunDifference& difference, const std::string& detector, const DiffOptions& options) {
  Json facts = Json::object();
  for (const auto& fact : difference.facts) {
    facts[fact.name] = {{"before", fact.before}, {"after", fact.after}};
  }
  Json object{{"detector", detector},
              {"before", options.before},
              {"after", options.after},
              {"facts", std::move(facts)},
              {"dcms", JsonOf(difference.dcms)},
              {"event_builders", JsonOf(difference.eventBuilders)},
              {"installed", JsonOf(difference.installed)}};
  if (!difference.notCompared.empty()) {
    object["not_compared"] = difference.notCompared;
    return object;
  }
  object["enabled"] = JsonOf(difference.enabled);
  object["thresholds_compared"] = difference.comparedThresholds;
  object["thresholds_changed"] = difference.thresholds.size();
  for (const auto& quantity : difference.quantities) {
    Json& counts = object[quantity.key];
    counts = {{"compared", quantity.compared},
              {"changed", quantity.changed.size()},
              {"known_in_one_only", quantity.knownInOneOnly}};
    if (!options.full) { continue; }
    counts["boards"] = Json::array();
    for (const auto& changed : quantity.changed) {
      counts["boards"].push_back(
          {{"board", changed.board}, {"before", changed.before}, {"after", changed.after}});
    }
  }
  if (!options.full) { return object; }
  Json list = Json::array();
  for (const auto& changed : difference.thresholds) {
    list.push_back({{"diblock", changed.diblock},
                    {"dcm", changed.dcm},
                    {"port", changed.port},
                    {"pixel", changed.pixel},
                    {"before", changed.before},
                    {"after", changed.after}});
  }
  object["thresholds"] = std::move(list);
  return object;
}

/// What could not be loaded of a run, if anything; told to standard error.
bool IsLoaded(ComparedRun& run) {
  LoadForComparison(run);
  const auto& deepest = run.parts.UpTo(Depth::Configuration);
  if (!deepest.ok) { SayUnavailable(run.history, deepest.reason); }
  return deepest.ok;
}

ExitStatus Diff(const DiffOptions& diffOptions, const Options& options) {
  ComparedRun before(diffOptions.before, options.detector);
  ComparedRun after(diffOptions.after, options.detector);
  ApplyTo(before.history, options);
  ApplyTo(after.history, options);
  const bool hasBefore = IsLoaded(before);
  const bool hasAfter = IsLoaded(after);
  if (!hasBefore || !hasAfter) { return kUnavailable; }
  const auto difference = Compare(before, after);
  if (options.json) {
    console::Answer() << JsonText(JsonOf(difference, options.detector, diffOptions)) << '\n';
  } else {
    console::Answer() << TextOf(difference, options.detector, diffOptions);
  }
  bool areSettingsThere = true;
  for (const auto* run : {&before, &after}) {
    if (run->parts.settings.IsClean()) { continue; }
    SayUnavailable(run->history, run->parts.settings.reason);
    areSettingsThere = false;
  }
  return areSettingsThere ? kAnswered : kUnavailable;
}

}  // namespace

Action PrepareDiff(CLI::App& command, const Options& options) {
  RequireDetector(command);
  auto diffOptions = std::make_shared<DiffOptions>();
  command.add_option("before", diffOptions->before, "The one run")->type_name("RUN_A")->required();
  command.add_option("after", diffOptions->after, "The other run")->type_name("RUN_B")->required();
  command.add_flag("--full", diffOptions->full, "Name every board and every threshold that differs");
  return [diffOptions, &options] { return Diff(*diffOptions, options); };
}

}  // namespace brio::tools
