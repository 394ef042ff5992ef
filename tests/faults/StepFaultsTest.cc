// Every step of a whole load fails in every way that a server can fail. The tests change and stop the server:
// they have one to themselves.
#include <gtest/gtest.h>

#include "tests/faults/CuttingProxy.h"
#include "tests/faults/FaultServer.h"
#include "tests/faults/FaultedLoads.h"
#include "tests/faults/Faults.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::DatabaseStep;

/// One database for all of a detector, or one for each kind of fact.
struct Site {
  const char* name;
  const char* detector;
  int run;
  bool fourConnections;

  std::string Database() const { return std::string("small_") + (run < 12000 ? "alder" : "birch"); }
  std::string Template(const std::string& socketFolder = server::SocketFolder()) const {
    return "host=" + socketFolder + " dbname=small_{detector} user=brio_reader" +
           (fourConnections ? " application_name=brio-{database}" : "");
  }
};

void PrintTo(const Site& site, std::ostream* stream) { *stream << site.name; }

constexpr Site kBirch{"Birch", "Birch", 13000, false};
constexpr Site kAlder{"Alder", "Alder", 11000, false};
constexpr Site kFourDatabases{"BirchOnFourDatabases", "Birch", 13000, true};

class AtEveryStep : public testing::TestWithParam<Site> {
protected:
  void TryEveryStep(const Fault& fault) {
    FaultedLoads(GetParam().run, GetParam().detector).TryEveryStep(fault);
  }

  const EnvironmentVariable database_{"BRIO_DATABASE", GetParam().Template()};
};
/// Where other loads differ too little to be worth the time.
class AtEveryStepOfBirch : public AtEveryStep {};
/// What happens to a connection that is being opened.
class AtEveryConnection : public AtEveryStep {};

TEST_P(AtEveryStep, BackendTerminated) { TryEveryStep(faults::BackendTerminated()); }

TEST_P(AtEveryStepOfBirch, BackendTerminatedWhileItWorks) {
  const faults::Gate gate(GetParam().Database());
  TryEveryStep(faults::TerminatedWhileRunning(GetParam().Database()));
}

TEST_P(AtEveryStepOfBirch, StatementCancelled) {
  const faults::Gate gate(GetParam().Database());
  TryEveryStep(faults::CancelledWhileRunning(GetParam().Database()));
}

TEST_P(AtEveryStepOfBirch, ServerFrozen) { TryEveryStep(faults::BackendFrozen()); }

TEST_P(AtEveryStepOfBirch, PermissionTakenAway) {
  TryEveryStep(faults::PermissionTaken(GetParam().Database()));
}

TEST_P(AtEveryStepOfBirch, TableGone) { TryEveryStep(faults::TableGone(GetParam().Database())); }

TEST_P(AtEveryStepOfBirch, ColumnGone) { TryEveryStep(faults::ColumnGone(GetParam().Database())); }

TEST_P(AtEveryConnection, ConnectionSlotsUsedUp) { TryEveryStep(faults::SlotsUsedUp()); }

TEST_P(AtEveryStep, ServerStopped) { TryEveryStep(faults::ServerStopped()); }

TEST_P(AtEveryStepOfBirch, ServerRestarted) {
  TryEveryStep(faults::ServerRestarted(GetParam().fourConnections));
}

TEST_P(AtEveryStepOfBirch, ConnectionCutDuringTheAnswer) {
  const auto proxy = std::make_shared<CuttingProxy>(server::SocketFolder());
  const EnvironmentVariable throughProxy("BRIO_DATABASE", GetParam().Template(proxy->SocketFolder()));
  FaultedLoads loads(GetParam().run, GetParam().detector);

  std::vector<long> counts;
  dbi::SetStepObserver([&](DatabaseStep, const std::string&) { counts.push_back(proxy->BytesFromServer()); });
  {
    const CapturedOutput output;
    const CapturedMessages messages;
    dbi::RunHistory run(GetParam().run, GetParam().detector);
    run.LoadAllDetInfo();
  }
  dbi::SetStepObserver({});
  ASSERT_EQ(counts.size(), loads.Steps().size());
  counts.push_back(proxy->BytesFromServer());
  std::vector<long> bytes;
  for (std::size_t i = 0; i + 1 < counts.size(); ++i) {
    bytes.push_back(counts[i + 1] - counts[i]);
  }
  for (const double share : {0.0, 0.5, 1.0}) {
    loads.TryEveryStep(faults::CutDuringAnswer(proxy, bytes, share));
  }
}

TEST_P(AtEveryConnection, ServerSilentWhileConnecting) {
  const auto proxy = std::make_shared<CuttingProxy>(server::SocketFolder());
  const EnvironmentVariable throughProxy("BRIO_DATABASE",
                                         GetParam().Template(proxy->SocketFolder()) + " connect_timeout=2");
  TryEveryStep(faults::SilentWhileConnecting(proxy));
}

const auto kSiteName = [](const auto& site) { return std::string(site.param.name); };
INSTANTIATE_TEST_SUITE_P(Loads, AtEveryStep, testing::Values(kBirch, kAlder, kFourDatabases), kSiteName);
INSTANTIATE_TEST_SUITE_P(Loads, AtEveryStepOfBirch, testing::Values(kBirch), kSiteName);
INSTANTIATE_TEST_SUITE_P(Loads, AtEveryConnection, testing::Values(kBirch, kFourDatabases), kSiteName);

}  // namespace
}  // namespace brio::test
