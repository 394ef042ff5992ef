#include "tools/report/RunPage.h"

#include <map>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapStatistics.h"
#include "tools/report/Page.h"
#include "tools/report/PageData.h"
#include "tools/report/PageMap.h"
#include "tools/report/PageTables.h"
#include "tools/report/TimeLine.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using arrays::Status;

/// So many places are shown at once; the rest are behind a fold.
constexpr std::size_t kShownPlaces = 12;

Json FactsOf(const RunScreen& screen) {
  Json facts = Json::array();
  for (const auto& line : screen.Lines()) {
    facts.push_back({{"label", line.label}, {"shown", line.shown}, {"isKnown", line.isKnown}});
  }
  return facts;
}

/// What a diblock was in the run: as the style sheet calls it, and as people do.
struct DiBlockState {
  const char* kind;
  const char* word;
};

DiBlockState StateOf(unsigned int number, Status presence, const std::optional<int>& mask) {
  if (presence == Status::Masked) { return {"masked", "masked"}; }
  if (presence != Status::Known) { return {"absent", "not in the run"}; }
  if (!mask) { return {"present", "in the run"}; }
  const bool isGood = (static_cast<unsigned int>(*mask) >> (number - 1U) & 1U) != 0;
  return isGood ? DiBlockState{"good", "good"} : DiBlockState{"bad", "not good"};
}

Json DiBlocksOf(const RunReport& report) {
  std::map<unsigned int, Status> presence;
  for (const auto& board : report.Boards().boards) {
    auto& known = presence.try_emplace(board.place.diblock, board.presence).first->second;
    if (board.presence == Status::Known) { known = Status::Known; }
  }
  Json diblocks = Json::array();
  for (const auto& [number, status] : presence) {
    const auto [kind, word] = StateOf(number, status, report.GoodDiBlocks());
    diblocks.push_back({{"number", number}, {"kind", kind}, {"word", word}});
  }
  return diblocks;
}

Json KindsOf(const std::vector<UnusualKind>& kinds) {
  Json list = Json::array();
  for (const auto& kind : kinds) {
    Json shown = Json::array();
    Json more = Json::array();
    for (const auto& place : kind.places) {
      auto& to = shown.size() < kShownPlaces ? shown : more;
      to.push_back({{"label", place.label}, {"text", place.text}, {"anchor", place.Anchor()}});
    }
    const std::size_t rest = more.size();
    const bool hasPlaces = !shown.empty();
    list.push_back({{"title", kind.title},
                    {"note", kind.note},
                    {"quantity", kind.quantity},
                    {"hasPlaces", hasPlaces},
                    {"places", std::move(shown)},
                    {"more", rest > 0 ? Json({{"count", rest}, {"places", std::move(more)}}) : Json()}});
  }
  return list;
}

Json ChangesOf(const RunReport& report) {
  Json facts = Json::array();
  if (report.difference) {
    for (const auto& fact : report.difference->facts) {
      facts.push_back({{"name", fact.name}, {"before", fact.before}, {"after", fact.after}});
    }
    const auto addBuilders = [&](const std::vector<std::string>& names, const char* how) {
      if (names.empty()) { return; }
      std::string list;
      for (const auto& name : names) {
        list += (list.empty() ? "" : ", ") + name;
      }
      facts.push_back({{"name", std::string("event builders ") + how}, {"before", ""}, {"after", list}});
    };
    addBuilders(report.difference->eventBuilders.onlyBefore, "gone");
    addBuilders(report.difference->eventBuilders.onlyAfter, "new");
  }
  return {{"before", report.before ? Json(*report.before) : Json()},
          {"whyNot", report.whyNotCompared},
          {"hasFacts", !facts.empty()},
          {"facts", std::move(facts)},
          {"kinds", KindsOf(report.changes)}};
}

/// Every place that a link leads to, once.
std::vector<UnusualPlace> PlacesOf(const RunReport& report) {
  std::map<std::string, UnusualPlace> places;
  for (const auto* kinds : {&report.unusual, &report.changes}) {
    for (const auto& kind : *kinds) {
      for (const auto& place : kind.places) {
        places.emplace(place.Anchor(), place);
      }
    }
  }
  std::vector<UnusualPlace> list;
  list.reserve(places.size());
  for (auto& [anchor, place] : places) {
    list.push_back(std::move(place));
  }
  return list;
}

Json ViewsOf(const RunReport& report, const std::vector<MapLayout>& layouts) {
  Json views = Json::array();
  for (const auto& layout : layouts) {
    const bool isFirst = views.empty();
    const auto picture = pagemap::Draw(isFirst ? &report.maps.front() : nullptr, layout,
                                       arrays::BoardsOf(report.Boards().detector),
                                       isFirst ? PlacesOf(report) : std::vector<UnusualPlace>());
    views.push_back({{"name", ViewNames().at(static_cast<std::size_t>(layout.view))},
                     {"width", svg::Number(picture.width)},
                     {"height", svg::Number(picture.height)},
                     {"isHidden", !isFirst},
                     {"elements", picture.elements}});
  }
  return views;
}

Json QuantitiesOf(const RunReport& report) {
  Json quantities = Json::array();
  for (const auto& map : report.maps) {
    Json statuses = Json::array();
    const int known = map.Count(Status::Known);
    if (map.IsYesNo() && known > 0) {
      statuses.push_back({{"isYes", true}, {"name", map.quantity.name}, {"count", known}});
    }
    for (const auto status : StatusesOf(map)) {
      statuses.push_back({{"isYes", false},
                          {"pattern", pagemap::PatternOf(status)},
                          {"name", StateName(status)},
                          {"count", map.Count(status)}});
    }
    const bool hasScale = !map.IsYesNo() && known > 0;
    quantities.push_back({{"name", map.quantity.name},
                          {"title", TitledUnit(map)},
                          {"summary", SummaryOf(map)},
                          {"isFirst", quantities.empty()},
                          {"isHidden", !quantities.empty()},
                          {"scale", hasScale ? pagemap::ScaleSvg(map) : ""},
                          {"statuses", std::move(statuses)}});
  }
  return quantities;
}

}  // namespace

std::string RunPage(const RunReport& report, const std::string& index) {
  const auto& boards = arrays::BoardsOf(report.Boards().detector);
  const std::vector<MapLayout> layouts{LayoutOf(boards, View::Readout), LayoutOf(boards, View::Geometry)};
  Json sources = Json::array();
  for (const auto& source : report.sources) {
    sources.push_back({{"label", source.label}, {"text", source.text}});
  }
  Json histograms = HistogramTables(report);
  Json subruns = SubrunTable(report.screened);
  Json members{{"title", "Run " + std::to_string(report.run) + " of " + report.detector},
               {"index", index},
               {"verdict", report.Verdict()},
               {"facts", FactsOf(report.screened.screen)},
               {"diblocks", DiBlocksOf(report)},
               {"unusual", KindsOf(report.unusual)},
               {"changes", ChangesOf(report)},
               {"patterns", pagemap::Patterns()},
               {"views", ViewsOf(report, layouts)},
               {"quantities", QuantitiesOf(report)},
               {"hasHistograms", !histograms.empty()},
               {"histograms", std::move(histograms)},
               {"timeLine", TimeLineSvg(report.screened.notes, report.screened.quality)},
               {"hasSubruns", !subruns.empty()},
               {"subruns", std::move(subruns)},
               {"headings", DCMHeadings(report)},
               {"dcms", DCMTable(report)},
               {"sources", std::move(sources)}};
  return PageOf("run.html", std::move(members), PageData(report, layouts));
}

}  // namespace brio::tools
