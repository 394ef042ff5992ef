#include "tools/history/HistoryForms.h"

#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

std::string Signed(double value) { return (value > 0 ? "+" : "") + Rounded(value); }

void AddOptional(arrays::RecordWriter& writer, const char* name, const std::optional<double>& value) {
  if (value) {
    writer.Add(name, *value);
  } else {
    writer.AddNothing(name);
  }
}

void AddFields(arrays::RecordWriter& writer, const HistoryPoint& point, bool isMany) {
  writer.Add("run", point.run);
  if (point.start.empty()) {
    writer.AddNothing("start");
  } else {
    writer.Add("start", arrays::WithZone(point.start));
  }
  AddOptional(writer, "value", point.value);
  writer.Add("value_status", point.status);
  AddOptional(writer, "measured", point.measured);
  if (isMany && point.value) {
    writer.Add("boards", static_cast<int>(point.boards));
  } else {
    writer.AddNothing("boards");
  }
  AddOptional(writer, "change", point.change);
}

std::string NoteOf(const HistoryPoint& point) {
  if (point.value) { return point.change ? "*" : ""; }
  return point.status + (point.measured ? ", measured " + Rounded(*point.measured) : "");
}

}  // namespace

std::string TextForm(const History& history) {
  std::vector<std::string> heading{"run", "start (UTC)", history.ValueName()};
  const bool hasMean = history.subject.IsMany() && history.ValueName() == history.quantity.name;
  if (hasMean) { heading.emplace_back("boards"); }
  heading.emplace_back("change");
  TextTable table(heading);
  for (const auto& point : history.points) {
    std::vector<std::string> row{std::to_string(point.run), point.start.empty() ? "-" : point.start,
                                 point.value ? Rounded(*point.value) : "-"};
    if (hasMean) { row.push_back(std::to_string(point.boards)); }
    row.push_back(point.change ? Signed(*point.change) : "");
    table.Add(std::move(row));
  }
  // The notes stand flush left behind the lines of the table.
  std::string text =
      history.Title() + (*history.quantity.unit == '\0' ? "" : ", " + std::string(history.quantity.unit)) +
      ": " + std::to_string(history.Values()) + " of " + std::to_string(history.points.size()) +
      " runs have a value, " + std::to_string(history.Changes()) +
      (history.Changes() == 1 ? " change\n" : " changes\n");
  const std::string lines = table.Text();
  std::size_t from = 0;
  for (std::size_t i = 0; from < lines.size(); ++i) {
    const auto to = lines.find('\n', from);
    std::string line = lines.substr(from, to - from);
    if (i > 0) { line += "  " + NoteOf(history.points[i - 1]); }
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + '\n';
    from = to + 1;
  }
  return text;
}

void WriteRecords(std::ostream& stream, arrays::Form form, const History& history) {
  arrays::RecordWriter writer(stream, form);
  const bool isMany = history.subject.IsMany();
  writer.BeginNames();
  AddFields(writer, HistoryPoint(), isMany);
  writer.EndNames();
  for (const auto& point : history.points) {
    writer.Begin();
    AddFields(writer, point, isMany);
    writer.End();
  }
  writer.Finish();
}

}  // namespace brio::tools
