#include "tests/RunHistory/RunDatabase.h"

#include <gtest/gtest.h>

namespace brio::test {

RunDatabase::RunDatabase(std::string detector)
    : detector_(std::move(detector)),
      connection_("BRIO_DATABASE", server::ConnectionString(databases_.Name())) {}

RunDatabase::~RunDatabase() {
  for (std::size_t i = nTaken_; i < messages_.All().size(); ++i) {
    ADD_FAILURE() << "unexpected message: " << messages_.All()[i].text;
  }
}

void RunDatabase::AddRun(int run) const {
  Execute(
      "INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, nactivechan, partition, runtype) VALUES "
      "(" +
      std::to_string(run) + ", '2016-03-01 03:00:00', '2016-03-01 11:50:00', 1003, 3, 4096, 1, 'Physics')");
}

void RunDatabase::AddResource(const std::string& type, const std::string& appName,
                              const std::string& detector, int run) const {
  Execute("INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES (" +
          std::to_string(run) + ", " + type + ", " + appName + ", " + detector + ")");
}

void RunDatabase::AddDCM(const std::string& appName, int run) const {
  AddResource("'dcm'", "'" + appName + "'", "'" + detector_ + "'", run);
}

void RunDatabase::AddBNEVB(const std::string& appName, int run) const {
  AddResource("'bnevb'", "'" + appName + "'", "'" + detector_ + "'", run);
}

void RunDatabase::AddMask(const std::string& mask, const std::string& insertTime, int run) const {
  Execute("INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime) VALUES (" +
          std::to_string(run) + ", " + mask + ", " + insertTime + ")");
}

void RunDatabase::AddFarModule(int diblock, int dcm, int port, const std::string& created,
                               const std::string& removed) const {
  // The module is block 20 + diblock, plane 30 + DCM, position 40 + port; its number says where it hangs.
  const auto text = [](int number) { return std::to_string(number); };
  const std::string module = text(diblock * 10000 + dcm * 100 + port);
  const std::string apd = "1" + module;
  Execute(
      "SET TimeZone TO 'UTC';"
      "INSERT INTO millpondprod_factory.module VALUES (" +
      module + ", " + text(20 + diblock) + ", " + text(30 + dcm) + ", " + text(40 + port) +
      ") ON CONFLICT DO NOTHING;"
      "INSERT INTO millpondprod_factory.brio_connection SELECT count(*), " +
      created + ", " + removed +
      " FROM millpondprod_factory.brio_connection;"
      "INSERT INTO millpondprod_factory.module_apd_connection SELECT count(*), " +
      module + ", " + apd +
      " FROM millpondprod_factory.module_apd_connection;"
      "INSERT INTO public.feb_comm_cables SELECT count(*), 'DIBLK:" +
      text(diblock) + "', 'DCM:" + text(dcm) + "', 'PRT:" + text(port) + "', 'BLK:" + text(20 + diblock) +
      "', 'PLN:" + text(30 + dcm) + "', 'POS:" + text(40 + port) + "' FROM public.feb_comm_cables");
}

void RunDatabase::AddNearModule(const std::string& dcmName, const std::string& port,
                                const std::string& installed, const std::string& removed) const {
  Execute(
      "SET TimeZone TO 'UTC';"
      "INSERT INTO public.hardware_position (detector, dcm_name, dcm_port, block, plane, module_position, "
      "install_date, remove_date, hw_type) VALUES ('Alder', " +
      dcmName + ", " + port + ", 21, 31, 41, " + installed + ", " + removed + ", 'APD')");
}

std::vector<std::string> RunDatabase::TakeErrors(const std::string& category) {
  std::vector<std::string> texts;
  for (; nTaken_ < messages_.All().size(); ++nTaken_) {
    const auto& message = messages_.All()[nTaken_];
    EXPECT_EQ(message.severity, Severity::Error) << message.text;
    EXPECT_EQ(message.category, category) << message.text;
    texts.push_back(message.text);
  }
  return texts;
}

bool RunDatabase::IsLeft() const { return server::LastingConnections(Name()) == 0; }

std::vector<std::string> Installed(const dbi::RunHistory& run) {
  std::vector<std::string> places;
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      for (std::size_t port = 0; port < dcm.febs.size(); ++port) {
        if (!dcm.febs[port].isInstalled) { continue; }
        places.push_back(std::to_string(diblock.number) + "/" + std::to_string(dcm.number) + "/" +
                         std::to_string(port));
      }
    }
  }
  return places;
}

Statements::Statements(std::function<void(int, const std::string&)> before) {
  dbi::SetStepObserver([this, before = std::move(before)](dbi::DatabaseStep step, const std::string& text) {
    if (step != dbi::DatabaseStep::Statement) { return; }
    texts_.push_back(text);
    if (before) { before(static_cast<int>(texts_.size()), text); }
  });
}

Statements::~Statements() { dbi::SetStepObserver({}); }

}  // namespace brio::test
