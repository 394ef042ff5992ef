#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "database/StepObserver.h"

namespace brio::test {

/// What a statement of LoadAllDetInfo asks for, in the order in which they are asked.
enum class Asked {
  Runs,
  Resources,
  Hardware,
  EnableMasks,
  Thresholds,
  Settings,
  Gains,
  APDs,
  FEBs,
  Cables,
  Nothing
};

const char* NameOf(Asked asked);

/// One thing that a load does with a database.
struct LoadStep {
  dbi::DatabaseStep kind;
  /// What the statement asks for, or the first statement after a connect or a begin; Nothing for a commit.
  Asked asked;
  std::string text;
};

/// "connect for resources", "gains", "commit".
std::string Described(const LoadStep& step);

/// The steps of a load, as they are made.
std::vector<LoadStep> StepsOf(const std::function<void()>& load);

/// Calls an action just before the n-th step (from 0) of what happens while it lives.
class BeforeStep {
public:
  BeforeStep(std::size_t number, std::function<void()> action);
  ~BeforeStep();
  BeforeStep(const BeforeStep&) = delete;
  BeforeStep& operator=(const BeforeStep&) = delete;
};

}  // namespace brio::test
