#include "arrays/Runs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include "RunHistory/ApplicationName.h"
#include "RunHistory/DetInfo.h"
#include "database/LoadScope.h"
#include "database/Session.h"
#include "database/Table.h"

namespace brio::arrays {
namespace {

using briodaq::cnv::DetInfo;

enum RunColumn { kRun, kStart, kStop, kType, kPartition, kConfiguration, kSubruns };

std::string Quoted(const std::string& name) {
  std::string quoted = "\"";
  for (const char character : name) {
    quoted += character == '"' ? std::string("\"\"") : std::string(1, character);
  }
  return quoted + '"';
}

/// A statement and its parameters, put together piece by piece.
class Conditions {
public:
  void Add(const std::string& before, std::string value) {
    parameters.push_back(std::move(value));
    text += (text.empty() ? " WHERE " : " AND ") + before + '$' + std::to_string(parameters.size());
  }
  void AddText(const std::string& more) { text += more; }

  std::string text;
  std::vector<std::string> parameters;
};

void AddComparison(const RunCondition& condition, const brio::dbi::Table& runs, Conditions& conditions) {
  constexpr std::array kComparisons{"=", "!=", "<", "<=", ">", ">="};
  if (runs.GetColNameToIndexMap().count(condition.column) == 0) {
    throw std::invalid_argument("the runs table has no column \"" + condition.column + "\"");
  }
  if (std::find(kComparisons.begin(), kComparisons.end(), condition.comparison) == kComparisons.end()) {
    throw std::invalid_argument("there is no comparison \"" + condition.comparison + "\"");
  }
  conditions.Add("r." + Quoted(condition.column) + ' ' + condition.comparison + ' ', condition.value);
}

Conditions ConditionsOf(const RunSelection& selection) {
  const brio::dbi::Table runs("RunHistory/tables/Runs.xml");
  Conditions conditions;
  conditions.AddText(" WHERE r.run IS NOT NULL");
  if (selection.first) { conditions.Add("r.run >= ", std::to_string(*selection.first)); }
  if (selection.last) { conditions.Add("r.run <= ", std::to_string(*selection.last)); }
  if (selection.since) { conditions.Add("r.tstart >= ", *selection.since); }
  if (selection.until) { conditions.Add("r.tstart < ", *selection.until); }
  if (selection.at) {
    conditions.Add("r.tstart <= ", *selection.at);
    const std::string at = '$' + std::to_string(conditions.parameters.size());
    conditions.AddText(" AND (r.tstop > " + at +
                       " OR r.tstop IS NULL AND NOT EXISTS (SELECT FROM daq.runs l WHERE l.partition IS NOT "
                       "DISTINCT FROM r.partition AND l.tstart > r.tstart AND l.tstart <= " +
                       at + "))");
  }
  if (selection.type) { conditions.Add("r.runtype = ", *selection.type); }
  if (selection.partition) { conditions.Add("r.partition = ", std::to_string(*selection.partition)); }
  if (selection.configuration) { conditions.Add("r.configid = ", std::to_string(*selection.configuration)); }
  for (const auto& condition : selection.where) {
    AddComparison(condition, runs, conditions);
  }
  return conditions;
}

/// The rows of a statement; null when it failed, which is logged.
brio::dbi::ResultHandle Ask(const std::string& detector, const std::string& statement,
                            std::vector<std::string> parameters) {
  const auto session = brio::dbi::AcquireSession(detector, brio::dbi::DatabaseKind::Runs, 0);
  if (!session) { return nullptr; }
  brio::dbi::Statement asked;
  asked.text = statement;
  asked.parameters = std::move(parameters);
  auto rows = session->Execute(asked);
  if (PQresultStatus(rows.get()) != PGRES_TUPLES_OK) { return nullptr; }
  return rows;
}

template <class Number>
Value<Number> NumberAt(const PGresult* rows, int row, int column) {
  Value<Number> value{Number(), Status::NotRecorded};
  if (PQgetisnull(rows, row, column) != 0) { return value; }
  const char* text = PQgetvalue(rows, row, column);
  const auto read = std::from_chars(text, text + std::strlen(text), value.value);
  if (read.ec == std::errc()) { value.status = Status::Known; }
  return value;
}

Value<std::string> TextAt(const PGresult* rows, int row, int column) {
  if (PQgetisnull(rows, row, column) != 0) { return {{}, Status::NotRecorded}; }
  return {PQgetvalue(rows, row, column), Status::Known};
}

/// The numbers of runs as an array of PostgreSQL's.
std::string ArrayOf(const std::vector<RunLine>& runs) {
  std::string text;
  for (const auto& line : runs) {
    text += (text.empty() ? "" : ",") + std::to_string(line.run);
  }
  return '{' + text + '}';
}

/// Gives every row to the lines of its run, which is in the first column; runs and rows are in ascending
/// order.
template <class Take>
void ForEachLine(const PGresult* rows, std::vector<RunLine>& runs, const Take& take) {
  auto line = runs.begin();
  for (int row = 0; row < PQntuples(rows); ++row) {
    const int run = NumberAt<int>(rows, row, 0).value;
    while (line != runs.end() && line->run < run) {
      ++line;
    }
    for (auto same = line; same != runs.end() && same->run == run; ++same) {
      take(*same, row);
    }
  }
}

/// Counts as the loader of a run does: rows of its own detector, where that counts, and each place once.
void CountResources(const std::string& detector, std::vector<RunLine>& runs) {
  const int id = DetInfo::GetId(detector);
  const bool ownRowsOnly = id == briodaq::cnv::Birch || id == briodaq::cnv::Alder;
  // Distinct names of a run are those of its DCMs; the server counts them, so that few rows are sent.
  std::string statement =
      "SELECT run, count(*) FILTER (WHERE resource_type = 'dcm'), "
      "string_agg(DISTINCT substr(appname, 1, 8), ',') FILTER (WHERE resource_type = 'dcm') "
      "FROM daq.daqresourcesbyrun WHERE run = ANY($1::int[])";
  std::vector<std::string> parameters{ArrayOf(runs)};
  if (ownRowsOnly) {
    statement += " AND detector = $2";
    parameters.push_back(detector);
  }
  const auto rows = Ask(detector, statement + " GROUP BY run ORDER BY run", parameters);
  if (!rows) { return; }
  for (auto& line : runs) {
    line.diblocks.status = line.dcms.status = Status::NotInRun;
  }
  ForEachLine(rows.get(), runs, [&](RunLine& line, int row) {
    line.dcms = NumberAt<int>(rows.get(), row, 1);
    line.diblocks = {0, Status::Known};
    std::vector<int> seen;
    const std::string names = PQgetvalue(rows.get(), row, 2);
    for (std::size_t from = 0; from < names.size();) {
      const std::size_t to = std::min(names.find(',', from), names.size());
      const std::string name = names.substr(from, to - from);
      from = to + 1;
      if (name.size() < 8) {  // no run of which a name is too short can be loaded
        line.diblocks.status = Status::RunNotLoaded;
        return;
      }
      const int diblock = brio::dbi::PlaceOfDCM(name + "-01").diblock;
      if (std::find(seen.begin(), seen.end(), diblock) == seen.end()) { seen.push_back(diblock); }
    }
    line.diblocks.value = static_cast<int>(seen.size());
  });
}

void ReadPOT(const std::string& detector, std::vector<RunLine>& runs) {
  const auto rows = Ask(detector,
                        "SELECT DISTINCT ON (run) run, npot FROM beam.potbyrun WHERE run = ANY($1::int[]) "
                        "ORDER BY run",
                        {ArrayOf(runs)});
  if (!rows) { return; }
  for (auto& line : runs) {
    line.pot.status = Status::NotRecorded;
  }
  ForEachLine(rows.get(), runs,
              [&](RunLine& line, int row) { line.pot = NumberAt<float>(rows.get(), row, 1); });
}

}  // namespace

std::optional<std::vector<RunLine>> ListRuns(const std::string& detector, const RunSelection& selection) {
  const Conditions conditions = ConditionsOf(selection);
  std::string statement =
      "SELECT r.run, r.tstart::text, r.tstop::text, r.runtype, r.partition, r.configid, r.nsubruns FROM "
      "daq.runs r" +
      conditions.text + " ORDER BY r.run DESC";
  if (selection.newest > 0) { statement += " LIMIT " + std::to_string(selection.newest); }

  const brio::dbi::LoadScope scope;
  const auto rows = Ask(detector, statement, conditions.parameters);
  if (!rows) { return std::nullopt; }
  std::vector<RunLine> runs(static_cast<std::size_t>(PQntuples(rows.get())));
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    RunLine& line = runs[runs.size() - 1 - static_cast<std::size_t>(row)];
    line.run = NumberAt<int>(rows.get(), row, kRun).value;
    line.start = TextAt(rows.get(), row, kStart);
    line.stop = TextAt(rows.get(), row, kStop);
    line.type = TextAt(rows.get(), row, kType);
    line.partition = NumberAt<int>(rows.get(), row, kPartition);
    line.configuration = NumberAt<long long>(rows.get(), row, kConfiguration);
    line.subruns = NumberAt<int>(rows.get(), row, kSubruns);
  }
  if (selection.withResources && !runs.empty()) { CountResources(detector, runs); }
  if (selection.withPOT && !runs.empty()) { ReadPOT(detector, runs); }
  return runs;
}

}  // namespace brio::arrays
