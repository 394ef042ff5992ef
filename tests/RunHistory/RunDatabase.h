#pragma once

#include <functional>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "database/StepObserver.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

/// A database of the test's own, with bare tables, at which the library is pointed for every detector; and
/// the library's messages. A message that the test did not take fails it.
class RunDatabase {
public:
  static constexpr int kRun = 13000;

  explicit RunDatabase(std::string detector = "Birch");
  ~RunDatabase();

  const std::string& Detector() const { return detector_; }
  std::string Name() const { return databases_.Name(); }
  dbi::RunHistory Run(int run = kRun) const { return {run, detector_}; }
  void Execute(const std::string& sql) const { databases_.Execute(sql); }

  /// 2016-03-01 03:00:00 to 11:50:00, configuration 1003, 3 subruns, 4096 channels, partition 1, "Physics".
  void AddRun(int run = kRun) const;
  /// A resource; the arguments are SQL.
  void AddResource(const std::string& type, const std::string& appName, const std::string& detector,
                   int run = kRun) const;
  /// A resource of type "dcm" of the detector.
  void AddDCM(const std::string& appName, int run = kRun) const;
  void AddBNEVB(const std::string& appName, int run = kRun) const;
  /// A good-diblock mask; the arguments are SQL.
  void AddMask(const std::string& mask, const std::string& insertTime = "'2017-01-01'", int run = kRun) const;
  /// A far-detector module that hangs on a port and has an APD; the times are SQL, in UTC without a zone.
  void AddFarModule(int diblock, int dcm, int port, const std::string& created = "'2015-01-01Z'",
                    const std::string& removed = "NULL") const;
  /// A near-detector module; name, port and times are SQL.
  void AddNearModule(const std::string& dcmName, const std::string& port,
                     const std::string& installed = "'2015-01-01Z'",
                     const std::string& removed = "NULL") const;

  /// The library's error messages so far, which were expected.
  std::vector<std::string> TakeErrors(const std::string& category);
  /// True when, within five seconds, the server has no connection of the library to this database.
  bool IsLeft() const;

private:
  std::string detector_;
  ScratchDatabases databases_;
  EnvironmentVariable connection_;
  CapturedMessages messages_;
  std::size_t nTaken_ = 0;
};

/// The ports on which a module is installed, as "diblock/DCM/port".
std::vector<std::string> Installed(const dbi::RunHistory& run);

/// Records the statements that the library sends, and acts before each.
class Statements {
public:
  /// \param before  called with a statement's number, from 1, and its text
  explicit Statements(std::function<void(int, const std::string&)> before = {});
  ~Statements();
  Statements(const Statements&) = delete;
  Statements& operator=(const Statements&) = delete;

  const std::vector<std::string>& All() const { return texts_; }

private:
  std::vector<std::string> texts_;
};

}  // namespace brio::test
