#pragma once

#include <functional>
#include <string>
#include <vector>

#include "database/ConnectionStatistics.h"
#include "tests/support/Server.h"

namespace brio::test {

/// Databases of a test's own, pointed to by BRIO_DATABASE, that hold exactly the rows that it puts there.
/// Its runs start on 2015-08-01.
class ConfiguredSite {
public:
  explicit ConfiguredSite(std::string detector = "birch");

  const std::string& DatabaseName() const { return name_; }
  void Execute(const std::string& sql) const {
    databases_.Execute("SET client_min_messages = warning; " + sql, detector_);
  }

  /// A run with its DCMs and one event builder.
  void AddRun(int run, long long configId, const std::vector<std::string>& dcms) const;
  void AddResource(int run, const std::string& type, const std::string& name) const;

  /// A far-detector board with its APD, whose gains come from a function of the test stand's pixel index; the
  /// APD's serial is the number given back, in seven digits.
  int AddBoard(int diblock, int dcm, int port, const std::function<std::string(int)>& gain);
  int AddBoard(int diblock, int dcm, int port, const std::string& gain = "100");
  /// A near-detector module.
  void AddNearModule(const std::string& dcm, int port) const;

  void AddConfiguration(long long configId) const;
  void AddMasks(long long configId, const std::string& dcm, long long febMask,
                const std::vector<int>& pixelMasks = std::vector<int>(64, -1)) const;
  void AddThresholds(long long configId, const std::string& dcm,
                     const std::vector<short>& thresholds = std::vector<short>(2048, 50)) const;
  /// A configuration of one DCM that enables every board and pixel.
  void AddOrdinaryConfiguration(long long configId, const std::vector<std::string>& dcms) const;
  /// Values as SQL has them.
  void AddSettings(long long configId, const std::string& dcm, int port, const std::string& enabled,
                   const std::string& temperature, const std::string& voltage) const;

  /// How many connections of the library stay open in this site's database. One that was closed is given a
  /// moment to go, since the server learns of it a little later.
  int OpenConnections() const;

private:
  std::string detector_;
  ScratchDatabases databases_;
  std::string name_;
  EnvironmentVariable variable_;
  int nBoards_ = 0;
};

/// What was asked of databases since this object was made.
class Asked {
public:
  long Connections() const {
    return ConnectionStatistics::Now().connectionAttempts - before_.connectionAttempts;
  }
  long Opened() const { return ConnectionStatistics::Now().connectionsOpened - before_.connectionsOpened; }
  long Statements() const { return ConnectionStatistics::Now().statementsSent - before_.statementsSent; }
  long Transactions() const {
    return ConnectionStatistics::Now().transactionsBegun - before_.transactionsBegun;
  }

private:
  using ConnectionStatistics = dbi::ConnectionStatistics;
  ConnectionStatistics before_ = ConnectionStatistics::Now();
};

/// What a load of the whole far detector says, piece by piece.
constexpr const char* kHardwareLine = "RunHistory: Loading FEB and APD installation information\n";
constexpr const char* kPixelLines =
    "RunHistory: loading pixel enable masks\nRunHistory: loading pixel thresholds\ndone!\n";
constexpr const char* kAPDLine = "Pull APD Info from DB\n";
constexpr const char* kNoValidData = "RunHistory::LoadPixelInfo failed to get valid data\n";
constexpr const char* kGivingUp = "RunHistory::LoadPixelInfo giving up!\n";

/// A far-detector channel.
unsigned int FarChannel(unsigned int diblock, unsigned int dcm, unsigned int port, unsigned int pixel);

}  // namespace brio::test
