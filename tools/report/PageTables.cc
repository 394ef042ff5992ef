#include "tools/report/PageTables.h"

#include <map>
#include <numeric>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapStatistics.h"
#include "tools/report/Histogram.h"

namespace brio::tools {

using arrays::Status;

Json HistogramTables(const RunReport& report) {
  Json histograms = Json::array();
  for (const auto& map : report.maps) {
    if (map.IsYesNo() || map.Count(Status::Known) == 0) { continue; }
    const Histogram histogram = HistogramOf(map);
    Json bins = Json::array();
    const auto add = [&](const std::string& from, const std::string& to, std::size_t count) {
      if (count > 0) { bins.push_back({{"from", from}, {"to", to}, {"count", count}}); }
    };
    add("below", ValueText(map, histogram.bins.front().from), histogram.below);
    for (const auto& bin : histogram.bins) {
      add(ValueText(map, bin.from), ValueText(map, bin.to), bin.count);
    }
    add("above", ValueText(map, histogram.bins.back().to), histogram.above);
    histograms.push_back({{"name", map.quantity.name},
                          {"title", TitledUnit(map)},
                          {"summary", SummaryOf(map)},
                          {"below", histogram.below},
                          {"above", histogram.above},
                          {"svg", SvgForm(histogram, map)},
                          {"bins", std::move(bins)}});
  }
  return histograms;
}

Json SubrunTable(const ScreenedRun& run) {
  std::map<int, Json> rows;
  const auto row = [&](int number) -> Json& {
    return rows
        .try_emplace(number, Json{{"subrun", number},
                                  {"start", ""},
                                  {"stop", ""},
                                  {"duration", ""},
                                  {"flag", ""},
                                  {"mipRate", ""},
                                  {"diblocks", ""},
                                  {"slices", ""},
                                  {"trackFraction", ""}})
        .first->second;
  };
  for (const auto& times : run.notes.times) {
    Json& cells = row(times.number);
    const auto seconds = DurationOf(times);
    cells["start"] = times.start;
    cells["stop"] = times.stop;
    cells["duration"] = seconds ? Duration(*seconds) : "";
  }
  for (const auto& record : run.quality) {
    Json& cells = row(record.subrun);
    cells["flag"] = record.flag;
    cells["mipRate"] = Shortest(record.miprate);
    cells["diblocks"] = record.ngooddb;
    cells["slices"] = Shortest(record.numslc);
    cells["trackFraction"] = Shortest(record.trkfrac);
  }
  Json list = Json::array();
  for (auto& [number, cells] : rows) {
    list.push_back(std::move(cells));
  }
  return list;
}

Json DCMTable(const RunReport& report) {
  Json rows = Json::array();
  const auto& boards = report.Boards().boards;
  for (std::size_t begin = 0; begin < boards.size();) {
    const auto& place = boards[begin].place;
    std::size_t end = begin;
    while (end < boards.size() && boards[end].place.diblock == place.diblock &&
           boards[end].place.dcm == place.dcm) {
      ++end;
    }
    Json cells = Json::array();
    bool isAnyKnown = false;
    for (const auto& map : report.maps) {
      std::vector<double> values;
      for (std::size_t i = begin; i < end; ++i) {
        if (map.boards[i].IsGood()) { values.push_back(map.boards[i].value); }
      }
      isAnyKnown = isAnyKnown || !values.empty();
      const double sum = std::accumulate(values.begin(), values.end(), 0.0);
      cells.push_back(map.IsYesNo()    ? std::to_string(values.size())
                      : values.empty() ? std::string("–")
                                       : ValueText(map, sum / static_cast<double>(values.size())));
    }
    if (isAnyKnown) {
      rows.push_back({{"dcm", std::to_string(place.diblock) + '/' + std::to_string(place.dcm)},
                      {"places", end - begin},
                      {"cells", std::move(cells)}});
    }
    begin = end;
  }
  return rows;
}

Json DCMHeadings(const RunReport& report) {
  Json headings = Json::array();
  for (const auto& map : report.maps) {
    const std::string unit = UnitSuffix(map);
    headings.push_back(map.IsYesNo() ? std::string(map.quantity.name)
                                     : "mean " + std::string(map.quantity.name) +
                                           (unit.empty() ? "" : " (" + unit.substr(1) + ')'));
  }
  return headings;
}

}  // namespace brio::tools
