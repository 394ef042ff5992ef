// Loads a run with libpqxx as its documentation uses it: the library's statements on one connection, values
// by as<T>(), records in ordered maps.
#include <string>

#include <pqxx/binarystring>
#include <pqxx/pqxx>

#include "benchmarks/loads/Connection.h"
#include "benchmarks/loads/MappedDetector.h"

namespace {

using namespace brio::benchmarks;

/// Counts the statements that go through a transaction.
class Client {
public:
  Client(const std::string& database, const std::string& begin) : connection_(database), work_(connection_) {
    work_.exec(begin);
  }
  template <class... Parameters>
  pqxx::result Ask(const std::string& statement, const Parameters&... parameters) {
    ++traffic_.statements;
    return work_.exec_params(statement, parameters...);
  }
  void Close() {
    work_.exec("COMMIT");
    connection_.disconnect();
  }
  const Traffic& GetTraffic() const { return traffic_; }

private:
  pqxx::connection connection_;
  pqxx::nontransaction work_;
  Traffic traffic_{1, 0, 0};
};

template <class T>
std::vector<T> Packed(const pqxx::field& field) {
  const pqxx::binarystring bytes(field);
  std::vector<T> numbers;
  for (std::size_t at = 0; at + sizeof(T) <= bytes.size(); at += sizeof(T)) {
    numbers.push_back(BigEndian<T>(bytes.get() + at));
  }
  return numbers;
}

void LoadConfiguration(Client& client, const Statements& statements, long long configId,
                       MappedDetector& detector) {
  for (const auto& row : client.Ask(statements.masks, configId)) {
    detector.SetMasks(row[0].as<std::string>(), static_cast<std::uint64_t>(row[1].as<long long>()),
                      Packed<std::int32_t>(row[2]));
  }
  for (const auto& row : client.Ask(statements.thresholds, configId)) {
    detector.SetThresholds(row[0].as<std::string>(), Packed<std::int16_t>(row[1]));
  }
  std::map<MappedDetector::Place, bool> recorded;
  for (const auto& row : client.Ask(statements.settings, configId)) {
    const auto name = row[0].as<std::string>();
    if (!detector.Has(name)) { continue; }
    const int port = row[1].as<int>();
    Board& board = detector.Named(name).boards.at(static_cast<std::size_t>(port));
    board.temperatureEnabled = row[2].as<bool>(false);
    board.voltage = row[4].as<int>(0);
    if (row[3].is_null()) { continue; }
    board.temperature = static_cast<float>(row[3].as<double>());
    recorded[{DigitsAt(name.c_str(), 6), DigitsAt(name.c_str(), 9) - 1, port}] = true;
  }
  detector.CarryTemperatures(recorded);
}

void LoadGains(Client& client, const Statements& statements, MappedDetector& detector) {
  const pqxx::result rows = client.Ask(statements.gains);
  for (pqxx::result::size_type i = 0; i < rows.size();) {
    const auto serial = rows[i][0].as<std::string>();
    const int batch = rows[i][1].as<int>();
    if (detector.gains.find(serial) != detector.gains.end()) {
      ++i;
      continue;
    }
    auto& gains = detector.gains[serial];
    gains.assign(kPixels, 100.0F);
    while (i < rows.size() && rows[i][0].as<std::string>() == serial && rows[i][1].as<int>() == batch) {
      gains[PixelIn(rows[i][3].as<std::string>(), rows[i][4].as<int>())] =
          static_cast<float>(rows[i][5].as<double>());
      ++i;
    }
  }
}

void LoadHardware(Client& client, const Statements& statements, MappedDetector& detector) {
  LoadGains(client, statements, detector);
  APD apd;
  for (const auto& row : client.Ask(statements.apds)) {
    apd.serial = row[0].as<std::string>();
    apd.batch = row[1].as<int>();
    apd.targetDegC = row[2].as<int>();
    apd.vr = static_cast<float>(row[3].as<double>());
    apd.item = row[4].as<int>();
    apd.dateAdded = SecondsIn(row[5].as<std::string>());
    apd.module = row[6].as<int>();
    apd.connection = row[7].as<int>();
    const auto gains = detector.gains.find(apd.serial);
    if (gains != detector.gains.end()) { apd.gains = gains->second; }
    detector.AddAPD(apd);
  }
  const pqxx::result febs = client.Ask(statements.febs);
  for (const auto& row : febs) {
    FEB feb;
    feb.serial = row[0].as<std::string>();
    feb.intercept = static_cast<float>(row[1].as<double>());
    feb.slope = static_cast<float>(row[2].as<double>());
    if (feb.slope == 0.0F) { feb.slope = 0.02586F; }
    feb.item = row[3].as<int>();
    feb.dateAdded = SecondsIn(febs[0][4].as<std::string>());
    feb.module = row[5].as<int>();
    feb.connection = row[6].as<int>();
    detector.AddFEB(feb);
  }
  for (const auto& row : client.Ask(statements.cables)) {
    const auto number = [&](pqxx::row::size_type column) { return std::stoi(row[column].as<std::string>()); };
    detector.Connect(number(0), number(1), number(2), row[6].as<int>());
  }
  detector.StoreGains();
}

void LoadRun(Client& client, const Statements& statements, int run, MappedDetector& detector) {
  const pqxx::result runs = client.Ask(statements.runs, run);
  for (const auto& row : client.Ask(statements.resources, run)) {
    if (row[1].as<std::string>() == "dcm") { detector.AddConcentrator(row[2].as<std::string>()); }
  }
  for (const auto& row : client.Ask(statements.hardware)) {
    const int diblock = std::stoi(row[0].as<std::string>());
    const int dcm = std::stoi(row[1].as<std::string>());
    const int port = row[2].as<int>();
    if (IsNeverMarked(diblock, dcm, port)) { continue; }
    detector.MarkInstalled(diblock, dcm, port, row[3].as<int>(), row[4].as<int>(), row[5].as<int>());
  }
  LoadConfiguration(client, statements, runs[0][3].as<long long>(), detector);
  LoadHardware(client, statements, detector);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ReadOptions(argc, argv);
  const Statements statements = ReadStatements(options.statements);
  Stopwatch watch;
  MappedDetector detector;
  Client client(options.database, statements.begin);
  LoadRun(client, statements, options.run, detector);
  client.Close();
  watch.Stop();
  const long peak = PeakKilobytes();
  Report(watch, peak, client.GetTraffic(), detector.GetAnswers());
}
