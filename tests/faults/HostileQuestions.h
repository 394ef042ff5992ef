#pragma once

#include <memory>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::test {

/// What a run is asked while its connections are attacked, and what it may hold afterwards.
class HostileQuestions {
public:
  HostileQuestions(std::string name, int run, std::string detector);
  virtual ~HostileQuestions() = default;
  HostileQuestions(const HostileQuestions&) = delete;
  HostileQuestions& operator=(const HostileQuestions&) = delete;

  const std::string& Name() const { return name_; }
  /// A run that was asked nothing.
  dbi::RunHistory Fresh() const;
  /// What came of the questions: "true", "false" or "throws …". What no loader announces passes.
  virtual std::string Ask(dbi::RunHistory& run) const = 0;
  /// Takes the answers of a server that nobody attacks for the right ones.
  void Remember();
  /// The location map of a run that holds all.
  const dbi::LocationMap& Map() const { return map_; }

  /// Whether the run holds everything. \param withEventBuilders  see FirstDifference
  virtual bool IsComplete(const dbi::RunHistory& run, bool withEventBuilders = true) const = 0;
  /// What is not as an outcome says, in words; empty when the run holds each group of facts whole or not at
  /// all, and those that the outcome promises.
  virtual std::string Wrong(const dbi::RunHistory& run, const std::string& outcome) const = 0;

protected:
  const dbi::RunHistory& Reference() const { return *reference_; }

private:
  std::string name_;
  int run_;
  std::string detector_;
  std::unique_ptr<dbi::RunHistory> reference_;
  dbi::LocationMap map_;
};

/// LoadAllDetInfo.
std::unique_ptr<HostileQuestions> WholeLoad(int run, const std::string& detector);
/// The good-diblock mask, the protons on target and the subrun records, each a load of its own.
std::unique_ptr<HostileQuestions> QualityLoads(int run, const std::string& detector);

}  // namespace brio::test
