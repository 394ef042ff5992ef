#include "arrays/Status.h"

#include <array>
#include <cstddef>

namespace brio::arrays {
namespace {

struct Texts {
  const char* name;
  const char* reason;
};

constexpr std::array<Texts, kStatuses> kTexts{{
    {"known", ""},
    {"not in the run", "its diblock or DCM took no part in the run"},
    {"masked", "the good-diblock mask leaves its diblock out"},
    {"not installed", "nothing is installed on the port"},
    {"not enabled", "the DAQ configuration does not enable it"},
    {"not recorded", "it was never recorded for this configuration"},
    {"never measured", "no gain was measured of the APD that is installed here"},
    {"left out",
     "the diblock's number exceeds the count of diblocks in the run, and the gains of such are not used"},
    {"replaced", "the measured mean is out of range, so that 100 stands for every gain of the board"},
    {"not finite", "it is recorded as no finite number"},
    {"not for this detector", "it is not recorded for this detector"},
    {"simulated", "a simulated run has no DAQ configuration, no settings and no real hardware"},
    {"run not loaded", "the run could not be read"},
    {"hardware not loaded", "what is installed could not be read"},
    {"configuration not loaded", "the DAQ configuration could not be read"},
    {"settings not loaded", "gains, voltages and temperatures could not be read"},
    {"superseded", "another run's hardware was loaded since"},
    {"not asked for", "nobody asked for it"},
}};

}  // namespace

const char* NameOf(Status status) { return kTexts.at(static_cast<std::size_t>(status)).name; }

const char* ReasonOf(Status status) { return kTexts.at(static_cast<std::size_t>(status)).reason; }

}  // namespace brio::arrays
