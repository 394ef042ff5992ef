#include "tests/faults/LoadSteps.h"

#include <memory>
#include <stdexcept>
#include <utility>

namespace brio::test {
namespace {

using dbi::DatabaseStep;

Asked WhatIsAsked(const std::string& statement) {
  // In this order: some statements also name the table of another.
  static const std::vector<std::pair<const char*, Asked>> kMarks{
      {"\"daqresourcesbyrun\"", Asked::Resources},
      {"\"runs\"", Asked::Runs},
      {"AT TIME ZONE 'CDT'", Asked::Hardware},
      {"hardware_position", Asked::Hardware},
      {"daqconfig.enable_masks", Asked::EnableMasks},
      {"daqconfig.thresholds", Asked::Thresholds},
      {"slowcontrol.apd_settings", Asked::Settings},
      {"apd_pixel_m", Asked::Gains},
      {"apd_stats", Asked::APDs},
      {"feb_test_summary", Asked::FEBs},
      {"feb_comm_cables", Asked::Cables}};
  for (const auto& [mark, asked] : kMarks) {
    if (statement.find(mark) != std::string::npos) { return asked; }
  }
  throw std::logic_error("a statement that the tests do not know: " + statement);
}

}  // namespace

const char* NameOf(Asked asked) {
  switch (asked) {
    case Asked::Runs: return "runs";
    case Asked::Resources: return "resources";
    case Asked::Hardware: return "hardware";
    case Asked::EnableMasks: return "enable masks";
    case Asked::Thresholds: return "thresholds";
    case Asked::Settings: return "settings";
    case Asked::Gains: return "gains";
    case Asked::APDs: return "APDs";
    case Asked::FEBs: return "FEBs";
    case Asked::Cables: return "cables";
    case Asked::Nothing: break;
  }
  return "nothing";
}

std::string Described(const LoadStep& step) {
  switch (step.kind) {
    case DatabaseStep::Connect: return std::string("connect for ") + NameOf(step.asked);
    case DatabaseStep::Begin: return std::string("begin for ") + NameOf(step.asked);
    case DatabaseStep::Commit: return "commit";
    case DatabaseStep::Statement: break;
  }
  return NameOf(step.asked);
}

std::vector<LoadStep> StepsOf(const std::function<void()>& load) {
  std::vector<LoadStep> steps;
  dbi::SetStepObserver([&](DatabaseStep kind, const std::string& text) {
    const Asked asked = kind == DatabaseStep::Statement ? WhatIsAsked(text) : Asked::Nothing;
    steps.push_back({kind, asked, text});
  });
  load();
  dbi::SetStepObserver({});
  Asked next = Asked::Nothing;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    if (step->kind == DatabaseStep::Statement) { next = step->asked; }
    if (step->kind == DatabaseStep::Connect || step->kind == DatabaseStep::Begin) { step->asked = next; }
  }
  return steps;
}

BeforeStep::BeforeStep(std::size_t number, std::function<void()> action) {
  const auto count = std::make_shared<std::size_t>(0);
  dbi::SetStepObserver([number, count, action = std::move(action)](DatabaseStep, const std::string&) {
    if ((*count)++ == number) { action(); }
  });
}

BeforeStep::~BeforeStep() { dbi::SetStepObserver({}); }

}  // namespace brio::test
