// Loads a run the way libpq is ordinarily used: the library's statements on one connection, results as text,
// atoi and atof, records in ordered maps.
#include <cstdlib>
#include <string>

#include "benchmarks/loads/Connection.h"
#include "benchmarks/loads/MappedDetector.h"

namespace {

using namespace brio::benchmarks;

/// The rows of a statement, by row and column.
class Rows {
public:
  Rows(Connection& connection, const std::string& statement, const std::vector<std::string>& parameters = {})
      : result_(connection.Ask(statement, parameters)) {}

  int Size() const { return PQntuples(result_.get()); }
  bool IsNull(int row, int column) const { return PQgetisnull(result_.get(), row, column) != 0; }
  std::string Text(int row, int column) const { return PQgetvalue(result_.get(), row, column); }
  int Integer(int row, int column) const { return std::atoi(PQgetvalue(result_.get(), row, column)); }
  double Number(int row, int column) const { return std::atof(PQgetvalue(result_.get(), row, column)); }
  /// Whole numbers of two or four bytes out of a bytea's text, "\x" and two digits a byte.
  template <class T>
  std::vector<T> Packed(int row, int column) const {
    const std::string text = Text(row, column);
    std::vector<T> numbers;
    for (std::size_t at = 2; at + 2 * sizeof(T) <= text.size(); at += 2 * sizeof(T)) {
      numbers.push_back(static_cast<T>(std::strtoul(text.substr(at, 2 * sizeof(T)).c_str(), nullptr, 16)));
    }
    return numbers;
  }

private:
  brio::dbi::ResultHandle result_;
};

void LoadConfiguration(Connection& connection, const Statements& statements,
                       const std::vector<std::string>& parameters, MappedDetector& detector) {
  const Rows masks(connection, statements.masks, parameters);
  for (int i = 0; i < masks.Size(); ++i) {
    detector.SetMasks(masks.Text(i, 0),
                      static_cast<std::uint64_t>(std::strtoll(masks.Text(i, 1).c_str(), nullptr, 10)),
                      masks.Packed<std::int32_t>(i, 2));
  }
  const Rows thresholds(connection, statements.thresholds, parameters);
  for (int i = 0; i < thresholds.Size(); ++i) {
    detector.SetThresholds(thresholds.Text(i, 0), thresholds.Packed<std::int16_t>(i, 1));
  }
}

void LoadSettings(Connection& connection, const Statements& statements,
                  const std::vector<std::string>& parameters, MappedDetector& detector) {
  const Rows settings(connection, statements.settings, parameters);
  std::map<MappedDetector::Place, bool> recorded;
  for (int i = 0; i < settings.Size(); ++i) {
    const std::string name = settings.Text(i, 0);
    if (!detector.Has(name)) { continue; }
    const int port = settings.Integer(i, 1);
    Board& board = detector.Named(name).boards.at(static_cast<std::size_t>(port));
    board.temperatureEnabled = settings.Text(i, 2) == "t";
    board.voltage = settings.Integer(i, 4);
    if (settings.IsNull(i, 3)) { continue; }
    board.temperature = static_cast<float>(settings.Number(i, 3));
    recorded[{DigitsAt(name.c_str(), 6), DigitsAt(name.c_str(), 9) - 1, port}] = true;
  }
  detector.CarryTemperatures(recorded);
}

void LoadGains(Connection& connection, const Statements& statements, MappedDetector& detector) {
  const Rows rows(connection, statements.gains);
  for (int i = 0; i < rows.Size();) {
    const std::string serial = rows.Text(i, 0);
    const int batch = rows.Integer(i, 1);
    if (detector.gains.find(serial) != detector.gains.end()) {
      ++i;
      continue;
    }
    detector.gains[serial] = std::vector<float>(kPixels, 100.0F);
    while (i < rows.Size() && rows.Text(i, 0) == serial && rows.Integer(i, 1) == batch) {
      detector.gains[serial][PixelIn(rows.Text(i, 3), rows.Integer(i, 4))] =
          static_cast<float>(rows.Number(i, 5));
      ++i;
    }
  }
}

void LoadHardware(Connection& connection, const Statements& statements, MappedDetector& detector) {
  LoadGains(connection, statements, detector);
  const Rows apds(connection, statements.apds);
  APD apd;
  for (int i = 0; i < apds.Size(); ++i) {
    apd.serial = apds.Text(i, 0);
    apd.batch = apds.Integer(i, 1);
    apd.targetDegC = apds.Integer(i, 2);
    apd.vr = static_cast<float>(apds.Number(i, 3));
    apd.item = apds.Integer(i, 4);
    apd.dateAdded = SecondsIn(apds.Text(i, 5));
    apd.module = apds.Integer(i, 6);
    apd.connection = apds.Integer(i, 7);
    const auto gains = detector.gains.find(apd.serial);
    if (gains != detector.gains.end()) { apd.gains = gains->second; }
    detector.AddAPD(apd);
  }
  const Rows febs(connection, statements.febs);
  for (int i = 0; i < febs.Size(); ++i) {
    FEB feb;
    feb.serial = febs.Text(i, 0);
    feb.intercept = static_cast<float>(febs.Number(i, 1));
    feb.slope = static_cast<float>(febs.Number(i, 2));
    if (feb.slope == 0.0F) { feb.slope = 0.02586F; }
    feb.item = febs.Integer(i, 3);
    feb.dateAdded = SecondsIn(febs.Text(0, 4));
    feb.module = febs.Integer(i, 5);
    feb.connection = febs.Integer(i, 6);
    detector.AddFEB(feb);
  }
  const Rows cables(connection, statements.cables);
  for (int i = 0; i < cables.Size(); ++i) {
    detector.Connect(cables.Integer(i, 0), cables.Integer(i, 1), cables.Integer(i, 2), cables.Integer(i, 6));
  }
  detector.StoreGains();
}

void LoadRun(Connection& connection, const Statements& statements, int run, MappedDetector& detector) {
  const Rows runs(connection, statements.runs, {std::to_string(run)});
  const Rows resources(connection, statements.resources, {std::to_string(run)});
  for (int i = 0; i < resources.Size(); ++i) {
    if (resources.Text(i, 1) == "dcm") { detector.AddConcentrator(resources.Text(i, 2)); }
  }
  const Rows hardware(connection, statements.hardware);
  for (int i = 0; i < hardware.Size(); ++i) {
    const int diblock = hardware.Integer(i, 0);
    const int dcm = hardware.Integer(i, 1);
    const int port = hardware.Integer(i, 2);
    if (IsNeverMarked(diblock, dcm, port)) { continue; }
    detector.MarkInstalled(diblock, dcm, port, hardware.Integer(i, 3), hardware.Integer(i, 4),
                           hardware.Integer(i, 5));
  }
  const std::vector<std::string> parameters{runs.Text(0, 3)};
  LoadConfiguration(connection, statements, parameters, detector);
  LoadSettings(connection, statements, parameters, detector);
  LoadHardware(connection, statements, detector);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ReadOptions(argc, argv);
  const Statements statements = ReadStatements(options.statements);
  Stopwatch watch;
  MappedDetector detector;
  Connection connection(options.database, statements.begin);
  LoadRun(connection, statements, options.run, detector);
  connection.Close();
  watch.Stop();
  const long peak = PeakKilobytes();
  Report(watch, peak, connection.GetTraffic(), detector.GetAnswers());
}
