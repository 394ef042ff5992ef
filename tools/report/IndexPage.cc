#include "tools/report/IndexPage.h"

#include <array>

#include "database/Util.h"
#include "tools/history/History.h"
#include "tools/report/Page.h"
#include "tools/report/TrendSvg.h"
#include "tools/shared/Mask.h"

namespace brio::tools {
namespace {

using Value = std::optional<double>;

struct Trend {
  const char* title;
  Value IndexedRun::*member;
};

constexpr std::array kTrends{Trend{"duration (hours)", &IndexedRun::duration},
                             Trend{"protons on target", &IndexedRun::pot},
                             Trend{"good diblocks", &IndexedRun::goodDiBlocks},
                             Trend{"enabled boards", &IndexedRun::enabled},
                             Trend{"mean threshold (ADC counts)", &IndexedRun::threshold},
                             Trend{"mean gain", &IndexedRun::gain},
                             Trend{"mean voltage (V)", &IndexedRun::voltage},
                             Trend{"mean temperature (°C)", &IndexedRun::temperature}};

Value Number(const Json& facts, const char* name) {
  const auto fact = facts.find(name);
  return fact != facts.end() && fact->is_number() ? Value(fact->get<double>()) : Value();
}

/// The time of a start, in seconds; nothing for a text that is none.
Value SecondsOf(const std::string& start) {
  long time = 0;
  return dbi::Util::TimeAsStringToTime_t(start, time) ? Value(static_cast<double>(time)) : Value();
}

/// What a cell shows, and the number or text by which it is sorted; nothing stands last.
Json Cell(const std::string& shown, const Json& sorted) { return {{"shown", shown}, {"sorted", sorted}}; }
Json Cell(const Value& value) { return value ? Cell(Rounded(*value), *value) : Cell("–", ""); }

Json RowOf(const IndexedRun& run) {
  const auto text = [](const std::string& shown) { return Cell(shown.empty() ? "–" : shown, shown); };
  Json cells{
      text(run.start), text(run.type),
      run.duration ? Cell(Duration(static_cast<std::time_t>(*run.duration)), *run.duration) : Cell(Value())};
  for (const auto& value : {run.pot, run.goodDiBlocks, run.enabled, run.threshold, run.gain, run.voltage,
                            run.temperature, Value(static_cast<double>(run.unusual))}) {
    cells.push_back(Cell(value));
  }
  return {{"run", run.run}, {"file", run.file}, {"cells", std::move(cells)}};
}

Json TrendsOf(const std::vector<IndexedRun>& runs) {
  Json trends = Json::array();
  for (const auto& trend : kTrends) {
    std::vector<TrendPoint> points;
    for (const auto& run : runs) {
      auto value = run.*(trend.member);
      if (!value) { continue; }
      if (trend.member == &IndexedRun::duration) { *value /= 3600; }
      points.push_back({static_cast<double>(run.run), SecondsOf(run.start), *value, run.file,
                        "run " + std::to_string(run.run) + ": " + Rounded(*value)});
    }
    trends.push_back({{"title", trend.title},
                      {"count", points.size()},
                      {"svg", points.empty() ? "" : TrendSvg(trend.title, points)}});
  }
  return trends;
}

}  // namespace

IndexedRun Indexed(const RunReport& report, const std::string& file) {
  auto& history = report.loaded->history;
  const auto& facts = report.screened.screen.Object();
  const auto meanOf = [&](const char* quantity) {
    return PointOf(history, report.loaded->parts, QuantityNamed(quantity), HistorySubject()).value;
  };
  IndexedRun run;
  run.run = report.run;
  run.file = file;
  run.start = facts.contains("start") && facts["start"].is_string() ? history.TStartAsString() : "";
  run.type = facts.contains("type") && facts["type"].is_string() ? facts["type"].get<std::string>() : "";
  run.duration = Number(facts, "duration");
  run.pot = Number(facts, "pot");
  if (const auto mask = report.GoodDiBlocks()) {
    run.goodDiBlocks = static_cast<double>(DiBlocksOf(*mask).size());
  }
  run.enabled = meanOf("enabled");
  run.threshold = meanOf("threshold");
  run.gain = meanOf("gain");
  run.voltage = meanOf("voltage");
  run.temperature = meanOf("temperature");
  run.unusual = report.unusual.size();
  return run;
}

std::string IndexPage(const std::string& detector, const std::vector<IndexedRun>& runs) {
  Json rows = Json::array();
  for (const auto& run : runs) {
    rows.push_back(RowOf(run));
  }
  const Json headings{"start (UTC)", "type", "duration", "POT",         "good diblocks", "enabled boards",
                      "threshold",   "gain", "voltage",  "temperature", "unusual"};
  const std::string title = Counted(runs.size(), "run") + " of " + detector;
  return PageOf(
      "index.html",
      {{"title", title}, {"headings", headings}, {"rows", std::move(rows)}, {"trends", TrendsOf(runs)}},
      Json::object());
}

}  // namespace brio::tools
