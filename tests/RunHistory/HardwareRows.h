#pragma once

#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "database/LoadScope.h"
#include "database/StepObserver.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

/// An APD of the hardware tables with one row of test statistics. Times are texts; an empty one is NULL.
struct APDRows {
  std::string serial = "0000001";
  int item = 200001;
  int module = 100001;
  int connection = 500001;
  std::string added = "2013-05-06 14:35:09Z";
  std::string itemRemoved = {};
  std::string connected = "2013-06-01 00:00:00Z";
  std::string disconnected = {};
  int batch = 1;
  int temperature = -15;
  std::string vr = "385.25";
};

/// An FEB with its high-voltage fit.
struct FEBRows {
  std::string barcode = "FEB4.1.000001";
  int item = 300001;
  int module = 100001;
  int connection = 600001;
  std::string added = "2013-04-03 12:21:43Z";
  std::string itemRemoved = {};
  std::string disconnected = {};
  std::string intercept = "312.5";
  std::string slope = "0.025";
};

/// A far-detector database of a test's own: bare tables, and the rows that the test puts there.
class HardwareRows {
public:
  HardwareRows() : address_("BRIO_DATABASE", databases_.Template()) {}

  void Execute(const std::string& sql) const { databases_.Execute(sql); }
  const ScratchDatabases& Databases() const { return databases_; }

  void Add(const APDRows& apd) const {
    const std::string item = std::to_string(apd.item);
    Execute("INSERT INTO millpondprod_factory.barcoded_item VALUES (" + item + ", '05.42." + apd.serial +
            "', 'apd', " + Time(apd.added) + ", " + Time(apd.itemRemoved) +
            ", NULL); INSERT INTO millpondprod_factory.apd VALUES (" + item + ", NULL);" +
            Connection(apd.connection, apd.connected, apd.disconnected) +
            "INSERT INTO millpondprod_factory.module_apd_connection VALUES (" +
            std::to_string(apd.connection) + ", " + std::to_string(apd.module) + ", " + item + ");" +
            Statistics(apd));
  }
  /// Another row of statistics of an APD that is there.
  static std::string Statistics(const APDRows& apd) {
    return "INSERT INTO public.apd_stats VALUES ('LOT-" + apd.serial + "', " + std::to_string(apd.batch) +
           ", " + std::to_string(apd.temperature) + ", " + (apd.vr.empty() ? "NULL" : apd.vr) + ", 100);";
  }
  void Add(const FEBRows& feb) const {
    std::string testSerial = feb.barcode;
    testSerial[4] = testSerial[6] = '-';
    Execute("INSERT INTO millpondprod_factory.barcoded_item VALUES (" + std::to_string(feb.item) + ", '" +
            feb.barcode + "', 'feb', " + Time(feb.added) + ", " + Time(feb.itemRemoved) + ", NULL);" +
            Connection(feb.connection, "2013-06-01 00:00:00Z", feb.disconnected) +
            "INSERT INTO millpondprod_factory.module_feb_connection VALUES (" +
            std::to_string(feb.connection) + ", " + std::to_string(feb.module) + ", " +
            std::to_string(feb.item) + "); INSERT INTO public.feb_test_summary VALUES ('" + testSerial +
            "', " + feb.intercept + ", " + feb.slope + ")");
  }
  /// All 32 gains of an APD alike.
  void AddGains(const std::string& serial, double gain, int batch = 1, int temperature = -15) const {
    Execute("INSERT INTO public.apd_pixel_m SELECT 'LOT-" + serial + "', " + std::to_string(batch) + ", " +
            std::to_string(temperature) + ", chr(65 + pixel / 8), pixel % 8 + 1, " + std::to_string(gain) +
            " FROM generate_series(0, 31) pixel");
  }
  /// A module at a place of its own, with an entry in the register.
  void AddModule(int module) const {
    const std::string number = std::to_string(module);
    Execute("INSERT INTO millpondprod_factory.barcoded_item VALUES (" + number + ", '01.01.0" + number +
            "', 'module', '2013-01-01', NULL, NULL); INSERT INTO millpondprod_factory.module VALUES (" +
            number + ", " + std::to_string(module % 28) + ", " + std::to_string(module % 32) + ", " +
            std::to_string(module % 12) + ", NULL)");
  }
  /// A cable from a port, whose three texts may be odd, to a module.
  void AddCable(const std::string& diblock, const std::string& dcm, const std::string& port,
                int module) const {
    Execute("INSERT INTO public.feb_comm_cables VALUES (" + std::to_string(++cables_) + ", 'DIBLK:" +
            diblock + "', 'DCM:" + dcm + "', 'PRT:" + port + "', 'BLK:" + std::to_string(module % 28) +
            "', 'PLN:" + std::to_string(module % 32) + "', 'POS:" + std::to_string(module % 12) + "')");
  }
  /// A run of whole diblocks, starting at kRunStart.
  void AddRun(int run, const std::vector<std::string>& dcmNames) const {
    std::string sql = "INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, partition) VALUES (" +
                      std::to_string(run) + ", '" + kRunStart + "', '2015-08-02 00:00:00', 7, 2, 1);";
    for (const auto& name : dcmNames) {
      sql += "INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES (" +
             std::to_string(run) + ", 'dcm', '" + name + "', 'Birch');";
    }
    Execute(sql);
  }

  static constexpr const char* kRunStart = "2015-08-01 15:30:00";

private:
  static std::string Time(const std::string& text) { return text.empty() ? "NULL" : "'" + text + "'"; }
  static std::string Connection(int connection, const std::string& from, const std::string& to) {
    return "INSERT INTO millpondprod_factory.brio_connection VALUES (" + std::to_string(connection) + ", " +
           Time(from) + ", " + Time(to) + ");";
  }

  ScratchDatabases databases_;
  EnvironmentVariable address_;
  mutable int cables_ = 0;
};

/// The statements that data are asked with, while it lives.
class SentStatements {
public:
  SentStatements() {
    dbi::SetStepObserver([this](dbi::DatabaseStep step, const std::string& text) {
      if (step == dbi::DatabaseStep::Statement) { texts_.push_back(text); }
    });
  }
  ~SentStatements() { dbi::SetStepObserver({}); }
  SentStatements(const SentStatements&) = delete;
  SentStatements& operator=(const SentStatements&) = delete;
  const std::vector<std::string>& Texts() const { return texts_; }

private:
  std::vector<std::string> texts_;
};

/// A far-detector run that was given its start by hand; nothing of it is loaded.
inline dbi::RunHistory RunStartingAt(const std::string& start = HardwareRows::kRunStart) {
  dbi::RunHistory run(13000, "Birch");
  dbi::RunHistoryTestPeer::TStartText(run) = start;
  return run;
}

/// The pulls, within a load as in LoadAPDSettings.
inline dbi::APDsByModule PullAPDs(dbi::RunHistory& run) {
  const dbi::LoadScope scope;
  return dbi::RunHistoryTestPeer::PullAPDInfoFromDB(run);
}
inline dbi::LocationMap PullFEBs(dbi::RunHistory& run, const dbi::APDsByModule& apds) {
  const dbi::LoadScope scope;
  return dbi::RunHistoryTestPeer::PullFEBInfoFromDB(run, apds);
}
inline void MapHardware(dbi::RunHistory& run) {
  const dbi::LoadScope scope;
  dbi::RunHistoryTestPeer::MapHardwareToLocation(run);
}

}  // namespace brio::test
