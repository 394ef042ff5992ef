#include <ostream>

#include "tools/shared/Loading.h"
#include "tools/shared/RunByRun.h"

namespace brio::tools {
namespace {

std::string TableOf(const std::vector<brio::dbi::DQSubrunInfo>& records) {
  TextTable table({"subrun", "flag", "MIP rate", "good diblocks", "slices", "track fraction"});
  for (const auto& record : records) {
    table.Add({std::to_string(record.subrun), std::to_string(record.flag), Shortest(record.miprate),
               std::to_string(record.ngooddb), Shortest(record.numslc), Shortest(record.trkfrac)});
  }
  return table.Text();
}

Json JsonOf(const std::vector<brio::dbi::DQSubrunInfo>& records) {
  Json list = Json::array();
  for (const auto& record : records) {
    list.push_back({{"subrun", record.subrun},
                    {"flag", record.flag},
                    {"miprate", ShortestValue(record.miprate)},
                    {"ngooddb", record.ngooddb},
                    {"numslc", ShortestValue(record.numslc)},
                    {"trkfrac", ShortestValue(record.trkfrac)}});
  }
  return list;
}

std::string AnswerDQ(brio::dbi::RunHistory& history, std::ostream& text, Json& object) {
  std::vector<brio::dbi::DQSubrunInfo> records;
  const Outcome loaded = Attempt([&] {
    records = history.GetDQSubrunInfo();
    return true;
  });
  if (!loaded.IsClean()) { return loaded.reason; }
  if (records.empty()) { return "it has no data-quality records"; }
  object["version"] = records.front().version;
  object["subruns"] = JsonOf(records);
  text << "Run " << history.GetRunNumber() << " of " << history.GetDetectorName()
       << ": data-quality records, version " << records.front().version << '\n'
       << TableOf(records);
  return {};
}

}  // namespace

Action PrepareDQ(CLI::App& command, const Options& options) {
  RequireRuns(command);
  RefuseMasks(command, "the data-quality records of a run are those of all its diblocks, whatever the mask");
  TakeRunAsArgument(command);
  return [&options] { return AnswerRunByRun(options, AnswerDQ); };
}

}  // namespace brio::tools
