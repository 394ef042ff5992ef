#include "arrays/RunStatement.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>
#include <vector>

#include "RunHistory/DetInfo.h"
#include "database/Quoted.h"
#include "database/Table.h"

namespace brio::arrays {
namespace {

using brio::dbi::Quoted;
using briodaq::cnv::DetInfo;

constexpr const char* kComparisonCharacters = "=!<>";

/// The conditions of a selection and their parameters, put together piece by piece.
class Conditions {
public:
  /// \return the parameter's place in the statement: "$1"
  std::string Parameter(std::string value) {
    parameters.push_back(std::move(value));
    return '$' + std::to_string(parameters.size());
  }
  void Add(const std::string& condition) { text += " AND " + condition; }
  void Compare(const std::string& before, std::string value) { Add(before + Parameter(std::move(value))); }
  /// A time as the run tables have them, in UTC without a zone.
  std::string Time(std::string value) {
    return '(' + Parameter(std::move(value)) + "::timestamptz AT TIME ZONE 'UTC')";
  }

  std::string text = "r.run IS NOT NULL";
  std::vector<std::string> parameters;
};

std::string NamesOf(const brio::dbi::Table& table) {
  std::string names;
  for (const auto& [name, index] : table.GetColNameToIndexMap()) {
    names += (names.empty() ? "" : ", ") + name;
  }
  return names;
}

void AddComparison(const RunCondition& condition, brio::dbi::Table& runs, Conditions& conditions) {
  constexpr std::array kComparisons{"=", "!=", "<", "<=", ">", ">="};
  if (runs.GetColNameToIndexMap().count(condition.column) == 0) {
    throw std::invalid_argument("the runs table has no column \"" + condition.column + "\"; it has " +
                                NamesOf(runs));
  }
  if (std::find(kComparisons.begin(), kComparisons.end(), condition.comparison) == kComparisons.end()) {
    throw std::invalid_argument("there is no comparison \"" + condition.comparison + "\"");
  }
  const bool isTime = runs.GetCol(condition.column)->Type() == "timestamp";
  conditions.Add("r." + Quoted(condition.column) + ' ' + condition.comparison + ' ' +
                 (isTime ? conditions.Time(condition.value) : conditions.Parameter(condition.value)));
}

Conditions ConditionsOf(const RunSelection& selection) {
  Conditions conditions;
  if (selection.first) { conditions.Compare("r.run >= ", std::to_string(*selection.first)); }
  if (selection.last) { conditions.Compare("r.run <= ", std::to_string(*selection.last)); }
  if (selection.since) { conditions.Add("r.tstart >= " + conditions.Time(*selection.since)); }
  if (selection.until) { conditions.Add("r.tstart < " + conditions.Time(*selection.until)); }
  if (selection.at) {
    const std::string at = conditions.Time(*selection.at);
    conditions.Add("r.tstart <= " + at + " AND (r.tstop > " + at +
                   " OR r.tstop IS NULL AND NOT EXISTS (SELECT FROM daq.runs l WHERE l.partition IS NOT "
                   "DISTINCT FROM r.partition AND l.tstart > r.tstart AND l.tstart <= " +
                   at + "))");
  }
  if (selection.type) { conditions.Compare("r.runtype = ", *selection.type); }
  if (selection.partition) { conditions.Compare("r.partition = ", std::to_string(*selection.partition)); }
  if (selection.configuration) {
    conditions.Compare("r.configid = ", std::to_string(*selection.configuration));
  }
  if (!selection.where.empty()) {
    brio::dbi::Table runs("RunHistory/tables/Runs.xml");
    for (const auto& condition : selection.where) {
      AddComparison(condition, runs, conditions);
    }
  }
  return conditions;
}

// The first of several rows, as the loader takes it.
constexpr const char* kPOTOfRuns =
    " LEFT JOIN (SELECT DISTINCT ON (run) run, npot FROM "
    "(SELECT run, npot, row_number() OVER () AS place FROM beam.potbyrun "
    "WHERE run = ANY (ARRAY(SELECT run FROM listed))) stored ORDER BY run, place) p ON p.run = listed.run";

constexpr const char* kMasksOfRuns =
    " LEFT JOIN (SELECT DISTINCT ON (run) run, dbmask FROM "
    "(SELECT run, dbmask, inserttime, row_number() OVER () AS place FROM dataquality.gooddiblocksvsrun "
    "WHERE run = ANY (ARRAY(SELECT run FROM listed))) stored "
    "ORDER BY run, inserttime DESC NULLS LAST, place) m ON m.run = listed.run";

/// DCMs as the loader of a run takes them: rows of the own detector, where that counts.
std::string ResourcesOfRuns(const std::string& detector, const RunSelection& selection,
                            Conditions& conditions) {
  const int id = DetInfo::GetId(detector);
  const bool ownRowsOnly = id == briodaq::cnv::Birch || id == briodaq::cnv::Alder;
  std::string wanted = "SELECT run FROM listed";
  if (selection.mostWithResources > 0) {
    wanted += " WHERE (SELECT count(*) FROM listed) <= " + std::to_string(selection.mostWithResources);
  }
  // An array of the runs, so that the index is used whatever the planner makes of the rows' number. A line's
  // end in a name reads as a blank does.
  return " LEFT JOIN (SELECT run, count(*) FILTER (WHERE resource_type = 'dcm') AS dcms, "
         "string_agg(replace(coalesce(appname, ''), E'\\n', ' '), E'\\n') "
         "FILTER (WHERE resource_type = 'dcm') AS names "
         "FROM daq.daqresourcesbyrun WHERE run = ANY (ARRAY(" +
         wanted + "))" + (ownRowsOnly ? " AND detector = " + conditions.Parameter(detector) : "") +
         " GROUP BY run) d ON d.run = listed.run";
}

}  // namespace

RunCondition ConditionIn(const std::string& text) {
  const auto begin = text.find_first_of(kComparisonCharacters);
  const auto end = text.find_first_not_of(kComparisonCharacters, begin);
  if (begin == std::string::npos || end == std::string::npos) {
    throw std::invalid_argument("\"" + text + "\" is no comparison of a column with a value");
  }
  const auto trimmed = [](const std::string& part) {
    const auto first = part.find_first_not_of(' ');
    return first == std::string::npos ? "" : part.substr(first, part.find_last_not_of(' ') - first + 1);
  };
  return {trimmed(text.substr(0, begin)), text.substr(begin, end - begin), trimmed(text.substr(end))};
}

brio::dbi::Statement RunStatement(const std::string& detector, const RunSelection& selection) {
  Conditions conditions = ConditionsOf(selection);
  std::string text =
      "WITH listed AS MATERIALIZED (SELECT r.run, r.tstart::text, r.tstop::text, r.runtype, r.partition, "
      "r.configid, r.nsubruns FROM daq.runs r WHERE " +
      conditions.text + " ORDER BY r.run DESC";
  if (selection.newest > 0) { text += " LIMIT " + std::to_string(selection.newest); }
  text += ") SELECT listed.*, ";
  text += selection.withPOT ? "p.run, p.npot, " : "NULL, NULL, ";
  text += selection.withResources ? "d.dcms, d.names, " : "NULL, NULL, ";
  text += selection.withMasks ? "m.dbmask" : "NULL";
  text += " FROM listed";
  if (selection.withPOT) { text += kPOTOfRuns; }
  if (selection.withMasks) { text += kMasksOfRuns; }
  if (selection.withResources) { text += ResourcesOfRuns(detector, selection, conditions); }

  brio::dbi::Statement statement;
  statement.text = text + " ORDER BY listed.run";
  statement.parameters = std::move(conditions.parameters);
  statement.columns = kRunColumns;
  return statement;
}

}  // namespace brio::arrays
