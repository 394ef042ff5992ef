#include "tests/RunHistory/ConfiguredSite.h"

#include <array>
#include <cstdio>
#include <stdexcept>

#include "experiment/DAQChannelMap.h"

namespace brio::test {
namespace {

/// A bytea value of big-endian numbers, as SQL has it.
template <class Number>
std::string Packed(const std::vector<Number>& numbers) {
  std::string text = R"('\x)";
  for (const Number number : numbers) {
    for (int shift = static_cast<int>(sizeof(Number)) * 8 - 8; shift >= 0; shift -= 8) {
      std::array<char, 3> digits{};
      const unsigned int byte =
          (static_cast<unsigned int>(number) >> static_cast<unsigned int>(shift)) & 0xFFU;
      std::snprintf(digits.data(), digits.size(), "%02x", byte);
      text += digits.data();
    }
  }
  return text + "'";
}

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

}  // namespace

ConfiguredSite::ConfiguredSite(std::string detector)
    : detector_(std::move(detector)),
      databases_("empty", {detector_}),
      name_(databases_.Name(detector_)),
      variable_("BRIO_DATABASE", databases_.Template()) {}

void ConfiguredSite::AddRun(int run, long long configId, const std::vector<std::string>& dcms) const {
  Execute("INSERT INTO daq.runs (run, tstart, configid, nsubruns) VALUES (" + std::to_string(run) +
          ", '2015-08-01 15:30:00', " + std::to_string(configId) + ", 2)");
  AddResource(run, "bnevb", "bnevb-001");
  for (const auto& dcm : dcms) {
    AddResource(run, "dcm", dcm);
  }
}

void ConfiguredSite::AddResource(int run, const std::string& type, const std::string& name) const {
  Execute("INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES (" +
          std::to_string(run) + ", " + Quoted(type) + ", " + Quoted(name) + ", initcap(" + Quoted(detector_) +
          "))");
}

int ConfiguredSite::AddBoard(int diblock, int dcm, int port, const std::string& gain) {
  return AddBoard(diblock, dcm, port, [&](int /*index*/) { return gain; });
}

int ConfiguredSite::AddBoard(int diblock, int dcm, int port, const std::function<std::string(int)>& gain) {
  const int number = ++nBoards_;
  const std::string n = std::to_string(number);
  const std::string apdId = "'LOT-01-' || to_char(" + n + ", 'FM0000000')";
  const std::string febNumber = "to_char(" + n + ", 'FM000000')";
  std::string sql = "INSERT INTO millpondprod_factory.module VALUES (10*" + n + ", " + n +
                    ", 1, 1, 'X');"
                    "INSERT INTO millpondprod_factory.apd VALUES (10*" +
                    n +
                    "+1, 'w');"
                    "INSERT INTO millpondprod_factory.barcoded_item VALUES"
                    " (10*" +
                    n + "+1, " + apdId +
                    ", 'apd', '2013-01-01 00:00:00Z', NULL, 'test'),"
                    " (10*" +
                    n + "+2, 'FEB4.1.' || " + febNumber +
                    ", 'feb', '2013-01-01 00:00:00Z', NULL, 'test');"
                    "INSERT INTO millpondprod_factory.brio_connection VALUES"
                    " (10*" +
                    n + "+3, '2013-02-01 00:00:00Z', NULL), (10*" + n +
                    "+4, '2013-02-01 00:00:00Z', NULL);"
                    "INSERT INTO millpondprod_factory.module_apd_connection VALUES (10*" +
                    n + "+3, 10*" + n + ", 10*" + n +
                    "+1);"
                    "INSERT INTO millpondprod_factory.module_feb_connection VALUES (10*" +
                    n + "+4, 10*" + n + ", 10*" + n +
                    "+2);"
                    "INSERT INTO public.feb_test_summary VALUES ('FEB4-1-' || " +
                    febNumber +
                    ", 300, 0.026);"
                    "INSERT INTO public.feb_comm_cables VALUES (" +
                    n + ", 'DIBLK:" + std::to_string(diblock) + "', 'DCM:" + std::to_string(dcm) +
                    "', 'PRT:" + std::to_string(port) + "', 'BLK:" + n +
                    "', 'PLN:1', 'POS:1');"
                    "INSERT INTO public.apd_stats VALUES (" +
                    apdId + ", 1, -15, 390, 100);";
  for (int index = 0; index < 32; ++index) {
    sql += "INSERT INTO public.apd_pixel_m VALUES (" + apdId + ", 1, -15, chr(65 + " +
           std::to_string(index / 8) + "), " + std::to_string(index % 8 + 1) + ", '" + gain(index) + "');";
  }
  Execute(sql);
  return number;
}

void ConfiguredSite::AddNearModule(const std::string& dcm, int port) const {
  Execute("INSERT INTO public.hardware_position VALUES ('Alder', " + Quoted(dcm) + ", " +
          std::to_string(port) + ", 1, 2, 0, '2013-01-01 00:00:00Z', NULL, 'APD', 'serial')");
}

void ConfiguredSite::AddConfiguration(long long configId) const {
  Execute("INSERT INTO daqconfig.configurations VALUES (" + std::to_string(configId) + ", 'test', NULL)");
}

void ConfiguredSite::AddMasks(long long configId, const std::string& dcm, long long febMask,
                              const std::vector<int>& pixelMasks) const {
  Execute("INSERT INTO daqconfig.enable_masks VALUES (" + std::to_string(configId) + ", " + Quoted(dcm) +
          ", " + std::to_string(febMask) + ", " + Packed(pixelMasks) + ")");
}

void ConfiguredSite::AddThresholds(long long configId, const std::string& dcm,
                                   const std::vector<short>& thresholds) const {
  Execute("INSERT INTO daqconfig.thresholds VALUES (" + std::to_string(configId) + ", " + Quoted(dcm) + ", " +
          Packed(thresholds) + ")");
}

void ConfiguredSite::AddOrdinaryConfiguration(long long configId,
                                              const std::vector<std::string>& dcms) const {
  AddConfiguration(configId);
  for (const auto& dcm : dcms) {
    AddMasks(configId, dcm, -1);
    AddThresholds(configId, dcm);
  }
}

void ConfiguredSite::AddSettings(long long configId, const std::string& dcm, int port,
                                 const std::string& enabled, const std::string& temperature,
                                 const std::string& voltage) const {
  Execute("INSERT INTO slowcontrol.apd_settings VALUES (" + std::to_string(configId) + ", " + Quoted(dcm) +
          ", " + std::to_string(port) + ", " + enabled + ", " + temperature + ", " + voltage + ")");
}

int ConfiguredSite::OpenConnections() const { return server::LastingConnections(name_); }

unsigned int FarChannel(unsigned int diblock, unsigned int dcm, unsigned int port, unsigned int pixel) {
  return daqchannelmap::DAQChannelMap::getInstance(2)->encodeDChan(2, diblock, dcm, port, pixel);
}

}  // namespace brio::test
