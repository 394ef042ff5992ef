#include "tools/shared/RunFilter.h"

#include <stdexcept>
#include <string>

namespace brio::tools {
namespace {

std::string CheckCondition(const std::string& text) {
  try {
    arrays::ConditionIn(text);
    return {};
  } catch (const std::invalid_argument& error) { return error.what(); }
}

}  // namespace

void AddRunFilter(CLI::App& command, arrays::RunSelection& selection) {
  command
      .add_option("--since", selection.since,
                  "Runs that started then or later; UTC unless it names a zone: \"2016-03-01 12:00\"")
      ->type_name("TIME");
  command.add_option("--until", selection.until, "Runs that started before")->type_name("TIME");
  command.add_option("--type", selection.type, "Runs of this type")->type_name("TYPE");
  command.add_option("--partition", selection.partition, "Runs of this partition")->type_name("N");
  command.add_option("--config", selection.configuration, "Runs with this configuration")->type_name("N");
  command
      .add_option_function<std::vector<std::string>>(
          "--where",
          [&selection](const std::vector<std::string>& texts) {
            for (const auto& text : texts) {
              selection.where.push_back(arrays::ConditionIn(text));
            }
          },
          "Runs for which a column of the runs table compares so with a value (= != < <= > >=): "
          "\"nsubruns >= 20\"; may be given several times")
      ->type_name("COMPARISON")
      ->expected(1)
      ->take_all()
      ->check(CheckCondition);
  command.add_option("--limit", selection.newest, "No more than this many, the newest")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000000));
}

bool HasFilter(const arrays::RunSelection& selection) {
  return selection.since || selection.until || selection.at || selection.type || selection.partition ||
         selection.configuration || !selection.where.empty() || selection.newest > 0;
}

void SetRuns(const CLI::App& command, const Options& options, arrays::RunSelection& selection) {
  if (command.get_option("--run")->count() == 0) { return; }
  selection.first = options.runs.first;
  if (!options.runs.isOpen) { selection.last = options.runs.last; }
}

}  // namespace brio::tools
