#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

/// A far-detector database of the test's own, with BRIODAQ_ENVIRONMENT set and the log captured.
class LookUpDatabase : public testing::Test {
protected:
  void Execute(const std::string& sql) const {
    databases.Execute("SET client_min_messages = warning; " + sql);
  }
  void AddConfiguration(int configId) const {
    Execute("INSERT INTO daqconfig.configurations VALUES (" + std::to_string(configId) + ", 'test', NULL)");
  }
  /// `masks` is the hexadecimal text of 64 masks.
  void AddMasks(int configId, const std::string& dcm, const std::string& febMask,
                const std::string& masks) const {
    Execute("INSERT INTO daqconfig.enable_masks VALUES (" + std::to_string(configId) + ", '" + dcm + "', " +
            febMask + ", '\\x" + masks + "')");
  }
  /// `thresholds` is the hexadecimal text of 2048 thresholds.
  void AddThresholds(int configId, const std::string& dcm, const std::string& thresholds) const {
    Execute("INSERT INTO daqconfig.thresholds VALUES (" + std::to_string(configId) + ", '" + dcm + "', '\\x" +
            thresholds + "')");
  }
  /// `values` is SQL: temperature_enabled, temperature, voltage.
  void AddSettings(int configId, const std::string& dcm, int port, const std::string& values) const {
    Execute("INSERT INTO slowcontrol.apd_settings VALUES (" + std::to_string(configId) + ", '" + dcm + "', " +
            std::to_string(port) + ", " + values + ")");
  }
  std::vector<std::string> Errors(const std::string& category) const {
    return messages.Texts(Severity::Error, category);
  }
  static std::string Repeated(const std::string& text, int times) {
    std::string repeated;
    for (int i = 0; i < times; ++i) {
      repeated += text;
    }
    return repeated;
  }

  ScratchDatabases databases;
  EnvironmentVariable database{"BRIO_DATABASE", databases.Template()};
  EnvironmentVariable detector{"BRIODAQ_ENVIRONMENT", "Birch"};
  const CapturedMessages messages;
};

}  // namespace brio::test
