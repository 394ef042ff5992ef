#include "snapshot/Facts.h"

#include <array>

namespace brio::snapshot {
namespace {

struct Fact {
  const char* inStatement;
  const char* name;
};
// The first that a statement holds is its fact: installed hardware is told by the tables that only it joins.
constexpr std::array kFacts{
    Fact{"\"daq\".\"runs\"", "run record"},
    Fact{"\"daqresourcesbyrun\"", "resources"},
    Fact{"\"gooddiblocksvsrun\"", "good-diblock mask"},
    Fact{"\"potbyrun\"", "protons on target"},
    Fact{"\"dqsubruninfo\"", "data-quality records"},
    Fact{"from hardware_position ", "installed hardware"},
    Fact{"LEFT OUTER JOIN millpondprod_factory.module_apd_connection", "installed hardware"},
    Fact{"public.apd_pixel_m ", "gains"},
    Fact{"public.apd_stats ", "installed APDs"},
    Fact{"public.feb_test_summary ", "installed FEBs"},
    Fact{"public.feb_comm_cables ", "cabling"},
    Fact{"daqconfig.enable_masks ", "enable masks"},
    Fact{"daqconfig.thresholds ", "thresholds"},
    Fact{"slowcontrol.apd_settings ", "slow control"},
};

}  // namespace

std::string FactOf(const std::string& statement) {
  for (const auto& fact : kFacts) {
    if (statement.find(fact.inStatement) != std::string::npos) { return fact.name; }
  }
  return "an answer to a statement of a client's";
}

}  // namespace brio::snapshot
