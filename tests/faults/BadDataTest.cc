// Every column that is read, with everything that does not belong there. Nothing may crash or throw what no
// header announces; what a value gives is checked where a rule says what it gives, and printed for all.
#include <fstream>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/Result.h"
#include "framework/exception.h"
#include "tests/faults/BadDataRules.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

struct BadValue {
  const char* name;
  const char* sql;
};

constexpr BadValue kBadValues[] = {
    {"NULL", "NULL"},
    {"empty", "''"},
    {"blank in front", "' 7'"},
    {"huge", "'99999999999999999999999'"},
    {"largest int", "'2147483647'"},
    {"negative", "'-1'"},
    {"very negative", "'-99999999999999999999999'"},
    {"letters", "'abc'"},
    {"fraction", "'3.5'"},
    {"not a number", "'NaN'"},
    {"infinity", "'infinity'"},
    {"very long", "repeat('x', 100000)"},
    {"quotes, statement", "$$'); DROP TABLE daq.runs; DROP TABLE daq.subruns; --$$"},
    {"quotes", "$$O'Reilly \"x\" \\ ; %s {}$$"},
    {"no such date", "'2015-02-30 25:61:61'"},
    {"other letters", "U&'\\00e9\\4e2d\\+01F600'"},
};

/// Tables with the columns of theirs that some statement reads.
struct ReadTable {
  const char* name;
  std::vector<const char*> columns;
};

const std::vector<ReadTable>& ReadTables() {
  static const std::vector<ReadTable> kTables{
      {"daq.runs", {"run", "tstart", "tstop", "configid", "nsubruns", "nactivechan", "partition", "runtype"}},
      {"daq.daqresourcesbyrun", {"run", "resource_type", "appname", "detector", "hostname"}},
      {"dataquality.gooddiblocksvsrun", {"run", "dbmask", "inserttime", "insertuser"}},
      {"beam.potbyrun", {"run", "npot"}},
      {"dataquality.dqsubruninfo",
       {"run", "version", "subrun", "flag", "miprate", "ngooddb", "numslc", "trkfrac"}},
      {"millpondprod_factory.barcoded_item",
       {"barcoded_item_id", "barcode", "glassfish_discriminator", "date_added", "date_removed"}},
      {"millpondprod_factory.module", {"barcoded_item_id", "block", "layer", "position_in_layer"}},
      {"millpondprod_factory.apd", {"barcoded_item_id"}},
      {"millpondprod_factory.brio_connection", {"connection_id", "date_created", "date_removed"}},
      {"millpondprod_factory.module_apd_connection", {"connection_id", "module", "apd"}},
      {"millpondprod_factory.module_feb_connection", {"connection_id", "module", "feb"}},
      {"public.apd_stats", {"apd_id", "batch_no", "target_degc", "vr"}},
      {"public.apd_pixel_m", {"apd_id", "batch_no", "target_degc", "pixel_col", "pixel_row", "pixel_m"}},
      {"public.feb_test_summary", {"febsn", "hvfitintercept", "hvfitslope"}},
      {"public.feb_comm_cables", {"location1", "position1", "port1", "location2", "position2", "port2"}},
      {"public.hardware_position",
       {"detector", "dcm_name", "dcm_port", "block", "plane", "module_position", "install_date",
        "remove_date", "hw_type"}},
      {"daqconfig.configurations", {"config_id"}},
      {"daqconfig.enable_masks", {"config_id", "dcm_name", "feb_enable_mask", "pixel_enable_masks"}},
      {"daqconfig.thresholds", {"config_id", "dcm_name", "thresholds"}},
      {"slowcontrol.apd_settings",
       {"config_id", "dcm_name", "port", "temperature_enabled", "temperature", "voltage"}}};
  return kTables;
}

/// Asks a run everything; what came of the whole load, in words.
std::string AskEverything(RunHistory& run) {
  std::string outcome;
  const dbi::LoadScope scope;  // one connection for all
  run.SetUseGoodDiBlockMask(run.GetDetectorId() == briodaq::cnv::Birch);
  const auto ask = [&](const char* what, const auto& question) {
    try {
      const std::string answer = question();
      if (!answer.empty()) { outcome += (outcome.empty() ? "" : ", ") + std::string(what) + " " + answer; }
    } catch (const cet::exception& error) {
      outcome += (outcome.empty() ? "" : ", ") + std::string(what) + " throws " + error.category();
    } catch (const std::out_of_range&) {
      outcome += (outcome.empty() ? "" : ", ") + std::string(what) + " throws std::out_of_range";
    }
  };
  ask("load", [&] { return run.LoadAllDetInfo() ? "" : "false"; });
  ask("POT", [&] { return run.LoadPOT() ? "" : "false"; });
  ask("quality", [&] { return run.GetDQSubrunInfo().size() == 1 ? "" : "of another number of subruns"; });
  ask("times", [&] {
    (void)run.SubrunTStart(1);
    (void)run.SubrunTStop(2);
    return run.TStart() == 0 || run.TStop() == 0 ? "0" : "";
  });
  ask("channels", [&] {
    bool known[4]{};
    constexpr unsigned int kFirst = 1U << 22U | 1U << 16U;
    const unsigned int channel = static_cast<unsigned int>(run.GetDetectorId()) << 28U | kFirst;
    (void)run.GetThreshold(channel, known[0]);
    (void)run.GetPixelGain(channel, known[1]);
    (void)run.GetFEB(channel, known[2]);
    known[3] = run.HasAPD(channel);
    (void)run.NAnalysisChannels();
    (void)run.GetConfiguration();
    return known[0] && known[1] && known[2] && known[3] ? "" : "unknown";
  });
  ask("dump", [&] {
    run.Dump();
    return "";
  });
  return outcome.empty() ? "as if all were well" : outcome;
}

class BadData : public testing::TestWithParam<ReadTable> {
protected:
  static std::string MiniExperiment() {
    std::ifstream file(BRIO_FAULTS_FOLDER "/mini_experiment.sql");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }

  /// Runs statements as the owner. \return the first value of the last; nothing after an error
  std::optional<std::string> Execute(const std::string& sql) {
    const dbi::ResultHandle result(PQexec(owner_.get(), sql.c_str()));
    if (PQresultStatus(result.get()) == PGRES_FATAL_ERROR) { return std::nullopt; }
    const bool hasValue = PQntuples(result.get()) > 0 && PQgetisnull(result.get(), 0, 0) == 0;
    return hasValue ? PQgetvalue(result.get(), 0, 0) : "\\N";
  }

  /// Puts the value into the first row. \return whether the column had to become a text for it
  bool PutIn(const std::string& table, const std::string& column, const BadValue& value) {
    const std::string update = "UPDATE " + table + " SET " + column + " = " + value.sql;
    // Of the items all, since those of modules, APDs and boards are read by different statements.
    const bool allRows = table == "millpondprod_factory.barcoded_item";
    const std::string row = allRows ? "" : " WHERE ctid = (SELECT min(ctid) FROM " + table + ")";
    if (Execute(update + "::text::" + TypeOf(table, column) + row)) { return false; }
    EXPECT_TRUE(Execute("ALTER TABLE " + table + " ALTER " + column + " TYPE text USING " + column +
                        "::text; " + update + row));
    return true;
  }

  std::string TypeOf(const std::string& table, const std::string& column) {
    return *Execute("SELECT format_type(atttypid, atttypmod) FROM pg_attribute WHERE attrelid = '" + table +
                    "'::regclass AND attname = '" + column + "'");
  }

  /// What the database says of the value; the row that was changed has become the last.
  std::string StoredText(const std::string& table, const std::string& column) {
    return *Execute("SELECT " + column + "::text FROM " + table + " ORDER BY ctid DESC LIMIT 1");
  }

  void PutBack(const std::string& table, const std::string& column, bool wasText) {
    std::string kept = table;
    kept.replace(kept.find('.'), 1, "_");
    std::string sql = "TRUNCATE " + table + ";";
    if (wasText) {
      sql += "ALTER TABLE " + table + " ALTER " + column + " TYPE " + TypeOf("keep." + kept, column) +
             " USING NULL;";
    }
    EXPECT_TRUE(Execute(sql + "INSERT INTO " + table + " SELECT * FROM keep." + kept));
  }

  const ScratchDatabases scratch_{"empty"};
  // Alder's run is in the same database.
  const EnvironmentVariable database_{"BRIO_DATABASE", server::ConnectionString(scratch_.Name())};
  // One for all statements, which are thousands.
  const dbi::ConnectionHandle owner_{PQconnectdb(
      (server::ConnectionString(scratch_.Name(), "postgres") + " options='-c datestyle=ISO'").c_str())};
};

void PrintTo(const ReadTable& table, std::ostream* stream) { *stream << table.name; }

TEST_P(BadData, IsAnsweredInEveryColumn) {
  scratch_.Execute(MiniExperiment());
  const std::string table = GetParam().name;
  const bool near = table == "public.hardware_position";
  const auto fresh = [&] { return RunHistory(near ? 11000 : 13000, near ? "Alder" : "Birch"); };
  std::string good;
  {
    const CapturedOutput output;
    const CapturedMessages messages;
    RunHistory run = fresh();
    good = AskEverything(run);
  }
  ASSERT_EQ(good, near ? "POT false, quality of another number of subruns" : "as if all were well");

  std::ostringstream outcomes;
  for (const char* column : GetParam().columns) {
    for (const auto& value : kBadValues) {
      SCOPED_TRACE(table + "." + column + ": " + value.name);
      const bool asText = PutIn(table, column, value);
      RunHistory run = fresh();
      CapturedOutput output;
      std::string outcome;
      {
        const CapturedMessages messages;
        ASSERT_NO_THROW(outcome = AskEverything(run));
      }
      const std::string error = output.StandardError();
      ASSERT_EQ(Execute("SELECT count(*) FROM daq.runs"), "2") << "nothing is written";
      CheckRule({table + "." + column, StoredText(table, column)}, run, outcome, error);
      PutBack(table, column, asText);
      outcomes << "  " << std::left << std::setw(52) << table + "." + column << std::setw(20) << value.name
               << (asText ? "(as text) " : "          ") << outcome << "\n";
    }
  }
  std::cout << outcomes.str();
}

INSTANTIATE_TEST_SUITE_P(Tables, BadData, testing::ValuesIn(ReadTables()), [](const auto& table) {
  std::string name = table.param.name;
  return name.substr(name.find('.') + 1);
});

}  // namespace
}  // namespace brio::test
