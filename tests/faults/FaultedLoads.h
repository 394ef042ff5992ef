#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "tests/faults/LoadSteps.h"

namespace brio::test {

/// A fault that is made just before a step of a load.
struct Fault {
  std::string name;
  /// Whether it can be made before this step at all; all steps when empty.
  std::function<bool(const LoadStep&)> applies = {};
  /// Before the load begins.
  std::function<void(const LoadStep&)> prepare = {};
  /// Just before the step. False when the server itself prevents the fault: then nothing must fail.
  std::function<bool(const LoadStep&)> make = {};
  /// Afterwards, before the load is tried again.
  std::function<void()> remove = {};
  /// True when everything that is asked from the step on fails, false when only the step's own question does.
  bool lasts = false;
  /// What fails besides.
  std::function<std::set<Asked>(const LoadStep&)> alsoFails = {};
  /// True when a connection that was made is lost: the load begins afresh, once.
  bool interrupts = false;
};

/// Loads of one run with a fault before each step in turn. Each is checked to end as it should: with the
/// right result, exception and messages on both streams, the right flags and contents, no connection and no
/// file descriptor left open, a location map that is whole; and after the fault was removed the same object
/// loads and equals one that never saw a fault. The outcomes are printed as a table.
class FaultedLoads {
public:
  /// Uses the database that BRIO_DATABASE names.
  FaultedLoads(int run, std::string detector);

  const std::vector<LoadStep>& Steps() const { return steps_; }
  void TryEveryStep(const Fault& fault);

private:
  struct Ending;
  void TryStep(const Fault& fault, std::size_t number);
  Ending Load(dbi::RunHistory& run, const Fault& fault, std::size_t number);
  std::set<Asked> Failing(const Fault& fault, std::size_t number) const;
  Ending Expected(const std::set<Asked>& failing, const LoadStep& step) const;
  void CheckEnding(const Ending& ending, const Ending& expected) const;
  void CheckContents(const dbi::RunHistory& run, const std::set<Asked>& failing) const;
  void CheckMap(const std::set<Asked>& failing) const;
  void CheckRecovery(dbi::RunHistory& run, const std::set<Asked>& failing) const;

  int run_;
  std::string detector_;
  dbi::RunHistory reference_;
  dbi::LocationMap map_;
  std::vector<LoadStep> steps_;
};

/// The question at which a load ends early, and Nothing when it goes through.
Asked EndsAt(const std::set<Asked>& failing);

/// What is left of a complete run when some of its questions fail.
dbi::RunHistory WithoutAnswersTo(const dbi::RunHistory& complete, const std::set<Asked>& failing);
/// The same of a complete location map.
dbi::LocationMap WithoutAnswersTo(const dbi::LocationMap& complete, const std::set<Asked>& failing);

}  // namespace brio::test
