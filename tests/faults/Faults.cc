#include "tests/faults/Faults.h"

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/faults/FaultServer.h"
#include "tests/support/Server.h"

namespace brio::test::faults {
namespace {

using dbi::DatabaseStep;

struct Place {
  std::string table;
  std::string column;
};

/// A table that the question reads, if possible before any other question does, and a column of it.
Place PlaceOf(const LoadStep& step) {
  switch (step.asked) {
    case Asked::Runs: return {"daq.runs", "tstart"};
    case Asked::Resources: return {"daq.daqresourcesbyrun", "appname"};
    case Asked::Hardware:
      if (step.text.find("hardware_position") != std::string::npos) {
        return {"public.hardware_position", "dcm_port"};
      }
      return {"millpondprod_factory.apd", "barcoded_item_id"};
    case Asked::EnableMasks: return {"daqconfig.enable_masks", "feb_enable_mask"};
    case Asked::Thresholds: return {"daqconfig.thresholds", "thresholds"};
    case Asked::Settings: return {"slowcontrol.apd_settings", "voltage"};
    case Asked::Gains: return {"public.apd_pixel_m", "pixel_m"};
    case Asked::APDs: return {"public.apd_stats", "vr"};
    case Asked::FEBs: return {"public.feb_test_summary", "hvfitslope"};
    case Asked::Cables: return {"public.feb_comm_cables", "port1"};
    case Asked::Nothing: break;
  }
  return {};
}

bool IsStatement(const LoadStep& step) { return step.kind == DatabaseStep::Statement; }
bool HasBackend(const LoadStep& step) { return step.kind != DatabaseStep::Connect; }

/// The backend that answers the step's question; all of the library's for a commit.
std::vector<int> BackendsOf(const LoadStep& step) {
  switch (step.asked) {
    case Asked::Nothing: return faultserver::Backends();
    case Asked::Runs:
    case Asked::Resources: return faultserver::Backends("brio-(runhistory|runs)");
    case Asked::EnableMasks:
    case Asked::Thresholds: return faultserver::Backends("brio-(runhistory|daqconfig)");
    case Asked::Settings: return faultserver::Backends("brio-(runhistory|slowcontrol)");
    default: return faultserver::Backends("brio-(runhistory|hardware)");
  }
}

/// Takes a lock-needing change only when no load stands in its way.
bool ChangeUnlessHeld(const std::string& database, const std::string& change) {
  try {
    server::Query(database, "SET lock_timeout = '100ms'; " + change);
  } catch (const std::runtime_error& error) {
    if (std::string(error.what()).find("lock timeout") == std::string::npos) { throw; }
    return false;
  }
  return true;
}

std::string WithoutSchema(const std::string& table) { return table.substr(table.find('.') + 1); }

/// Acts on the backend that waits at the gate, from a thread of its own.
Fault WhileRunning(const std::string& name, const std::string& database,
                   std::function<void(const std::string& backend)> act) {
  const auto actor = std::make_shared<std::thread>();
  Fault fault;
  fault.name = name;
  fault.applies = IsStatement;
  fault.prepare = [database](const LoadStep& step) {
    server::Query(database, "INSERT INTO gate.closed VALUES ($$" + step.text + "$$)");
  };
  fault.make = [actor, act = std::move(act)](const LoadStep&) {
    *actor = std::thread([act] {
      for (int i = 0; i < 10000; ++i) {
        const auto waiting =
            server::Query("postgres",
                          "SELECT pid FROM pg_stat_activity WHERE wait_event = 'PgSleep' AND "
                          "application_name LIKE 'brio-%'");
        if (!waiting.empty()) { return act(waiting[0][0]); }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    });
    return true;
  };
  fault.remove = [actor, database] {
    actor->join();
    server::Query(database, "TRUNCATE gate.closed");
  };
  return fault;
}

}  // namespace

Fault BackendTerminated() {
  Fault fault{"backend terminated", HasBackend, {}, [](const LoadStep& step) {
                for (const int backend : BackendsOf(step)) {
                  faultserver::Terminate(backend);
                }
                return true;
              }};
  fault.interrupts = true;
  return fault;
}

Fault BackendFrozen() {
  const auto frozen = std::make_shared<std::vector<int>>();
  const auto timeout = std::make_shared<std::unique_ptr<EnvironmentVariable>>();
  Fault fault{"server frozen", HasBackend};
  fault.prepare = [timeout](const LoadStep&) {
    *timeout = std::make_unique<EnvironmentVariable>("BRIO_QUERY_TIMEOUT", "5");
  };
  fault.make = [frozen, timeout](const LoadStep& step) {
    // Later connections have the usual time, so that a slow machine is not taken for a frozen server.
    timeout->reset();
    *frozen = BackendsOf(step);
    for (const int backend : *frozen) {
      kill(backend, SIGSTOP);
    }
    return !frozen->empty();
  };
  fault.remove = [frozen] {
    for (const int backend : *frozen) {
      kill(backend, SIGCONT);
    }
  };
  return fault;
}

Fault ServerStopped() {
  Fault fault{"server stopped", {}, {}, [](const LoadStep&) {
                faultserver::Stop();
                return true;
              }};
  fault.remove = faultserver::Start;
  fault.lasts = true;
  fault.interrupts = true;
  return fault;
}

Fault ServerRestarted(bool fourConnections) {
  Fault fault{"server restarted", HasBackend, {}, [](const LoadStep&) {
                faultserver::Stop();
                faultserver::Start();
                return true;
              }};
  fault.alsoFails = [fourConnections](const LoadStep& step) {
    // The hardware connection was opened before, and its next question is the one for the gains.
    const bool hardwareLost = fourConnections && step.asked == Asked::Settings;
    return hardwareLost ? std::set<Asked>{Asked::Gains} : std::set<Asked>{};
  };
  fault.interrupts = true;
  return fault;
}

Fault SlotsUsedUp() {
  const auto held = std::make_shared<std::vector<PGconn*>>();
  return {
      "connection slots used up",
      [](const LoadStep& step) { return step.kind == DatabaseStep::Connect; },
      {},
      [held](const LoadStep&) {
        for (;;) {
          held->push_back(PQconnectdb(
              (server::ConnectionString("postgres", "brio_nobody") + " application_name=occupant").c_str()));
          if (PQstatus(held->back()) != CONNECTION_OK) { return true; }
        }
      },
      [held] {
        for (PGconn* connection : *held) {
          PQfinish(connection);
        }
        held->clear();
        while (!faultserver::Backends("occupant").empty()) {}
      }};
}

Fault PermissionTaken(const std::string& database) {
  const auto table = std::make_shared<std::string>();
  return {"permission taken away",
          IsStatement,
          {},
          [database, table](const LoadStep& step) {
            *table = PlaceOf(step).table;
            server::Query(database, "REVOKE SELECT ON " + *table + " FROM brio_reader");
            return true;
          },
          [database, table] { server::Query(database, "GRANT SELECT ON " + *table + " TO brio_reader"); }};
}

Fault TableGone(const std::string& database) {
  const auto undo = std::make_shared<std::string>();
  return {"table gone",
          IsStatement,
          {},
          [database, undo](const LoadStep& step) {
            const std::string table = PlaceOf(step).table;
            const bool made = ChangeUnlessHeld(database, "ALTER TABLE " + table + " RENAME TO gone");
            const std::string schema = table.substr(0, table.find('.'));
            *undo = made ? "ALTER TABLE " + schema + ".gone RENAME TO " + WithoutSchema(table) : "";
            return made;
          },
          [database, undo] {
            if (!undo->empty()) { server::Query(database, *undo); }
          }};
}

Fault ColumnGone(const std::string& database) {
  const auto undo = std::make_shared<std::string>();
  return {"column gone",
          IsStatement,
          {},
          [database, undo](const LoadStep& step) {
            const auto [table, column] = PlaceOf(step);
            const std::string rename = "ALTER TABLE " + table + " RENAME COLUMN ";
            const bool made = ChangeUnlessHeld(database, rename + column + " TO gone");
            *undo = made ? rename + "gone TO " + column : "";
            return made;
          },
          [database, undo] {
            if (!undo->empty()) { server::Query(database, *undo); }
          }};
}

Fault TerminatedWhileRunning(const std::string& database) {
  Fault fault =
      WhileRunning("backend terminated while it works", database, [database](const std::string& backend) {
        // The statement passes when it is sent again.
        server::Query(database, "DELETE FROM gate.closed");
        server::Query("postgres", "SELECT pg_terminate_backend(" + backend + ")");
      });
  fault.interrupts = true;
  return fault;
}

Fault CancelledWhileRunning(const std::string& database) {
  return WhileRunning("statement cancelled", database, [](const std::string& backend) {
    server::Query("postgres", "SELECT pg_cancel_backend(" + backend + ")");
  });
}

Fault CutDuringAnswer(const std::shared_ptr<CuttingProxy>& proxy, const std::vector<long>& bytesOfSteps,
                      double share) {
  const auto next = std::make_shared<std::vector<long>>(bytesOfSteps);
  const auto number = std::make_shared<std::size_t>(0);
  Fault fault;
  fault.name = "connection cut after " + std::to_string(static_cast<int>(100 * share)) + " % of the answer";
  fault.make = [=](const LoadStep&) {
    const auto bytes = static_cast<double>(next->at((*number)++) - 1);
    proxy->CutAfter(static_cast<long>(bytes * share));
    return true;
  };
  fault.interrupts = true;
  return fault;
}

Fault SilentWhileConnecting(const std::shared_ptr<CuttingProxy>& proxy) {
  return {"server silent while connecting",
          [](const LoadStep& step) { return step.kind == DatabaseStep::Connect; },
          {},
          [proxy](const LoadStep&) {
            proxy->SetSilent(true);
            return true;
          },
          [proxy] { proxy->SetSilent(false); }};
}

Gate::Gate(std::string database) : database_(std::move(database)) {
  std::string sql =
      "CREATE SCHEMA gate; CREATE TABLE gate.closed (statement text);"
      "CREATE FUNCTION gate.pass() RETURNS boolean LANGUAGE plpgsql VOLATILE SECURITY DEFINER AS $$ BEGIN "
      "IF EXISTS (SELECT FROM gate.closed WHERE statement = current_query()) THEN PERFORM pg_sleep(30); "
      "END IF; RETURN true; END $$; GRANT USAGE ON SCHEMA gate TO brio_reader;";
  for (const Asked asked :
       {Asked::Runs, Asked::Resources, Asked::Hardware, Asked::EnableMasks, Asked::Thresholds,
        Asked::Settings, Asked::Gains, Asked::APDs, Asked::FEBs, Asked::Cables}) {
    const std::string table =
        asked == Asked::Hardware ? "millpondprod_factory.module" : PlaceOf({{}, asked, {}}).table;
    sql += "ALTER TABLE " + table + " ENABLE ROW LEVEL SECURITY; CREATE POLICY gate ON " + table +
           " USING ((SELECT gate.pass()));";
  }
  sql +=
      "ALTER TABLE public.hardware_position ENABLE ROW LEVEL SECURITY;"
      "CREATE POLICY gate ON public.hardware_position USING ((SELECT gate.pass()));";
  server::Query(database_, sql);
}

Gate::~Gate() {
  try {
    server::Query(database_,
                  "DO $$ DECLARE name text; BEGIN FOR name IN SELECT polrelid::regclass::text FROM pg_policy "
                  "LOOP EXECUTE format('DROP POLICY gate ON %s', name);"
                  "EXECUTE format('ALTER TABLE %s DISABLE ROW LEVEL SECURITY', name); END LOOP; END $$;"
                  "DROP SCHEMA gate CASCADE");
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the next test says what is wrong
  }
}

}  // namespace brio::test::faults
