#include "tools/report/TimeLine.h"

#include <algorithm>
#include <set>

#include "database/Util.h"
#include "tools/shared/Format.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

// Lengths are in the picture's own unit.
constexpr double kWidth = 1000;
constexpr double kLeft = 10;
constexpr double kTop = 22;
constexpr double kHeight = 34;
constexpr double kSmall = 11;

struct Bar {
  const SubrunTimes* subrun;
  long start;
  long stop;
};

std::vector<Bar> BarsOf(const RunNotes& notes) {
  std::vector<Bar> bars;
  for (const auto& subrun : notes.times) {
    long start = 0;
    const auto seconds = DurationOf(subrun);
    if (seconds && dbi::Util::TimeAsStringToTime_t(subrun.start, start)) {
      bars.push_back({&subrun, start, start + *seconds});
    }
  }
  return bars;
}

}  // namespace

std::string TimeLineSvg(const RunNotes& notes, const std::vector<brio::dbi::DQSubrunInfo>& quality) {
  const auto bars = BarsOf(notes);
  if (bars.empty()) { return {}; }
  std::set<int> flagged;
  for (const auto& record : quality) {
    if (record.flag != 0) { flagged.insert(record.subrun); }
  }
  const Bar* first = &bars.front();
  const Bar* last = &bars.front();
  for (const auto& bar : bars) {
    if (bar.start < first->start) { first = &bar; }
    if (bar.stop > last->stop) { last = &bar; }
  }
  const auto whole = static_cast<double>(std::max(last->stop - first->start, 1L));
  const auto at = [&](long time) {
    return kLeft + static_cast<double>(time - first->start) / whole * (kWidth - 2 * kLeft);
  };
  std::string svg = "<svg class=\"chart timeline\" viewBox=\"0 0 1000 76\" role=\"img\" aria-label=\"" +
                    svg::Escaped(Counted(bars.size(), "subrun") + " from " + first->subrun->start + " to " +
                                 last->subrun->stop + " UTC") +
                    "\">\n";
  for (const auto& bar : bars) {
    const int number = bar.subrun->number;
    const bool isFlagged = flagged.count(number) > 0;
    const double width = std::max(at(bar.stop) - at(bar.start) - 1, 1.0);
    svg += svg::Rectangle(at(bar.start), kTop, width, kHeight,
                          std::string("class=\"") + (isFlagged ? "beyond" : "bar") + "\"",
                          "<title>" +
                              svg::Escaped("subrun " + std::to_string(number) + ": " + bar.subrun->start +
                                           " to " + bar.subrun->stop + " UTC, " +
                                           Duration(bar.stop - bar.start) + (isFlagged ? ", flagged" : "")) +
                              "</title>");
    constexpr double kRoom = 16;
    if (width > kRoom) {
      svg += svg::Text(at(bar.start) + width / 2, kTop - 6, kSmall, "middle", std::to_string(number));
    }
  }
  svg += svg::Text(kLeft, kTop + kHeight + 14, kSmall, "start", first->subrun->start);
  svg += svg::Text(kWidth - kLeft, kTop + kHeight + 14, kSmall, "end", last->subrun->stop + " UTC");
  return svg + "</svg>\n";
}

}  // namespace brio::tools
