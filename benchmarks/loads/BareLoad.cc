// Loads a run with nothing but libpq: the library's statements on one connection, numbers read with
// from_chars, flat arrays. The least that a program can do to end up with the same facts.
#include <charconv>
#include <cstring>
#include <ctime>

#include "benchmarks/loads/Connection.h"
#include "benchmarks/loads/FlatDetector.h"
#include "benchmarks/loads/FlatHardware.h"

namespace {

using namespace brio::benchmarks;
using brio::dbi::ResultHandle;

template <class T>
T NumberAt(const PGresult* rows, int row, int column) {
  T value{};
  const char* text = PQgetvalue(rows, row, column);
  std::from_chars(text, text + PQgetlength(rows, row, column), value);
  return value;
}
int IntegerAt(const PGresult* rows, int row, int column) { return NumberAt<int>(rows, row, column); }

/// The hours, minutes and seconds stand one place to the right of where a time has them: so the library
/// reads.
double SecondsIn(const char* date) {
  static char lastDay[10];
  static double secondsOfLastDay = 0.0;
  const auto piece = [date](std::size_t from, std::size_t length) {
    int value = 0;
    std::from_chars(date + from, date + from + length, value);
    return value;
  };
  if (std::memcmp(lastDay, date, sizeof lastDay) != 0) {
    std::memcpy(lastDay, date, sizeof lastDay);
    std::tm day{};
    day.tm_year = piece(0, 4) - 1900;
    day.tm_mon = piece(5, 2) - 1;
    day.tm_mday = piece(8, 2);
    secondsOfLastDay = static_cast<double>(timegm(&day));
  }
  return secondsOfLastDay + 3600 * piece(12, 2) + 60 * piece(15, 2) + piece(18, 1);
}

std::string ReadRun(Connection& connection, const Statements& statements, int run, FlatDetector& detector) {
  const auto runs = connection.Ask(statements.runs, {std::to_string(run)});
  const auto resources = connection.Ask(statements.resources, {std::to_string(run)});
  for (int row = 0; row < PQntuples(resources.get()); ++row) {
    if (std::strcmp(PQgetvalue(resources.get(), row, 1), "dcm") != 0) { continue; }
    const char* name = PQgetvalue(resources.get(), row, 2);
    detector.active[PlaceIn(name, 0) / kPorts] = 1;
  }
  return PQgetvalue(runs.get(), 0, 3);
}

void ReadInstalled(Connection& connection, const Statements& statements, FlatDetector& detector) {
  const auto result = connection.Ask(statements.hardware);
  const PGresult* rows = result.get();
  for (int row = 0; row < PQntuples(rows); ++row) {
    const int diblock = IntegerAt(rows, row, 0);
    const int dcm = IntegerAt(rows, row, 1);
    const int port = IntegerAt(rows, row, 2);
    const std::size_t place = PlaceOf(static_cast<std::size_t>(diblock), static_cast<std::size_t>(dcm),
                                      static_cast<std::size_t>(port));
    if (detector.active[place / kPorts] == 0 || detector.installed[place] != 0 ||
        IsNeverMarked(diblock, dcm, port)) {
      continue;
    }
    detector.installed[place] = 1;
    detector.block[place] = NumberAt<std::uint16_t>(rows, row, 3);
    detector.plane[place] = NumberAt<std::uint16_t>(rows, row, 4);
    detector.position[place] = NumberAt<std::uint16_t>(rows, row, 5);
  }
}

void ReadConfiguration(Connection& connection, const Statements& statements, const std::string& configId,
                       FlatDetector& detector) {
  auto rows = connection.Ask(statements.masks, {configId}, 1);
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    const std::size_t first = PlaceIn(PQgetvalue(rows.get(), row, 0), 0);
    if (detector.active[first / kPorts] == 0) { continue; }
    const auto boards = BigEndian<std::uint64_t>(PQgetvalue(rows.get(), row, 1));
    const char* masks = PQgetvalue(rows.get(), row, 2);
    for (std::size_t port = 0; port < kPorts; ++port) {
      if (((boards >> port) & 1U) == 0) { continue; }
      detector.enabled[first + port] = 1;
      detector.pixelMask[first + port] = BigEndian<std::int32_t>(masks + 4 * port);
    }
  }
  rows = connection.Ask(statements.thresholds, {configId}, 1);
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    const std::size_t first = PlaceIn(PQgetvalue(rows.get(), row, 0), 0);
    if (detector.active[first / kPorts] == 0) { continue; }
    std::int16_t* thresholds = &detector.thresholds[first * kPixels];
    const char* packed = PQgetvalue(rows.get(), row, 1);
    for (std::size_t i = 0; i < kPorts * kPixels; ++i) {
      thresholds[i] = BigEndian<std::int16_t>(packed + 2 * i);
    }
  }
}

void ReadSettings(Connection& connection, const Statements& statements, const std::string& configId,
                  FlatDetector& detector) {
  const auto result = connection.Ask(statements.settings, {configId}, 1);
  const PGresult* rows = result.get();
  std::vector<char> hasTemperature(kBoards);
  for (int row = 0; row < PQntuples(rows); ++row) {
    const auto port = BigEndian<std::uint16_t>(PQgetvalue(rows, row, 1));
    const std::size_t place = PlaceIn(PQgetvalue(rows, row, 0), port);
    if (detector.active[place / kPorts] == 0) { continue; }
    if (PQgetisnull(rows, row, 2) == 0) { detector.temperatureEnabled[place] = *PQgetvalue(rows, row, 2); }
    if (PQgetisnull(rows, row, 3) == 0) {
      const auto bits = BigEndian<std::uint64_t>(PQgetvalue(rows, row, 3));
      double temperature = 0.0;
      std::memcpy(&temperature, &bits, sizeof temperature);
      detector.temperature[place] = static_cast<float>(temperature);
      hasTemperature[place] = 1;
    }
    if (PQgetisnull(rows, row, 4) == 0) {
      detector.voltage[place] = BigEndian<std::int32_t>(PQgetvalue(rows, row, 4));
    }
  }
  // A temperature that was not recorded reads as that of the board before.
  float temperature = -100.0F;
  for (std::size_t place = 0; place < kBoards; ++place) {
    if (hasTemperature[place] == 0) { detector.temperature[place] = temperature; }
    temperature = detector.temperature[place];
  }
}

/// Takes the rows of the gains statement one after the other.
class GainsReader {
public:
  explicit GainsReader(Hardware& hardware) : hardware_(hardware) { hardware_.gains.reserve(16384); }

  void Take(const PGresult* rows, int row) {
    const int serial = IntegerAt(rows, row, 0);
    const int batch = IntegerAt(rows, row, 1);
    if (serial != serial_) {
      Begin(serial);
      batch_ = batch;
    }
    if (batch != batch_) { return; }
    const auto pixel = PixelAt(*PQgetvalue(rows, row, 3), IntegerAt(rows, row, 4));
    hardware_.gains.back().byPixel[pixel] = static_cast<float>(NumberAt<double>(rows, row, 5));
  }

private:
  void Begin(int serial) {
    serial_ = serial;
    auto& gainsOfSerial = hardware_.gainsOfSerial;
    const auto index = static_cast<std::size_t>(serial);
    if (index >= gainsOfSerial.size()) { gainsOfSerial.resize(index + index / 4 + 1024, -1); }
    gainsOfSerial[index] = static_cast<std::int32_t>(hardware_.gains.size());
    hardware_.gains.emplace_back();
    for (float& gain : hardware_.gains.back().byPixel) {
      gain = 100.0F;
    }
  }

  Hardware& hardware_;
  int serial_ = -1;
  int batch_ = -1;
};

void ReadGains(Connection& connection, const Statements& statements, bool stream, Hardware& hardware) {
  GainsReader reader(hardware);
  if (stream) {
    connection.AskRowByRow(statements.gains, [&](const PGresult* row) { reader.Take(row, 0); });
    return;
  }
  const auto rows = connection.Ask(statements.gains);
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    reader.Take(rows.get(), row);
  }
}

void ReadAPDs(Connection& connection, const Statements& statements, Hardware& hardware) {
  const auto result = connection.Ask(statements.apds);
  const PGresult* rows = result.get();
  std::int32_t gains = -1;
  for (int row = 0; row < PQntuples(rows); ++row) {
    InstalledAPD apd;
    const auto serial = NumberAt<std::size_t>(rows, row, 0);
    // An APD without gains shows those of the row before.
    if (serial < hardware.gainsOfSerial.size() && hardware.gainsOfSerial[serial] >= 0) {
      gains = hardware.gainsOfSerial[serial];
    }
    apd.gains = gains;
    apd.batch = IntegerAt(rows, row, 1);
    apd.targetDegC = IntegerAt(rows, row, 2);
    apd.vr = static_cast<float>(NumberAt<double>(rows, row, 3));
    apd.item = IntegerAt(rows, row, 4);
    apd.dateAdded = SecondsIn(PQgetvalue(rows, row, 5));
    apd.connection = IntegerAt(rows, row, 7);
    InstalledAPD& kept = hardware.At(IntegerAt(rows, row, 6)).apd;
    if (apd.dateAdded > kept.dateAdded) { kept = apd; }
  }
}

void ReadFEBs(Connection& connection, const Statements& statements, Hardware& hardware) {
  const auto result = connection.Ask(statements.febs);
  const PGresult* rows = result.get();
  for (int row = 0; row < PQntuples(rows); ++row) {
    InstalledFEB& feb = hardware.At(IntegerAt(rows, row, 5)).feb;
    if (feb.item >= 0) { continue; }
    feb.intercept = static_cast<float>(NumberAt<double>(rows, row, 1));
    feb.slope = static_cast<float>(NumberAt<double>(rows, row, 2));
    if (feb.slope == 0.0F) { feb.slope = 0.02586F; }
    feb.item = IntegerAt(rows, row, 3);
    feb.connection = IntegerAt(rows, row, 6);
  }
}

void ReadCables(Connection& connection, const Statements& statements, Hardware& hardware) {
  const auto result = connection.Ask(statements.cables);
  const PGresult* rows = result.get();
  for (int row = 0; row < PQntuples(rows); ++row) {
    const int module = IntegerAt(rows, row, 6);
    if (hardware.At(module).feb.item < 0) { continue; }
    hardware.moduleAt[PlaceOf(NumberAt<std::size_t>(rows, row, 0), NumberAt<std::size_t>(rows, row, 1),
                              NumberAt<std::size_t>(rows, row, 2))] = module;
  }
}

/// Looks at every value of the four results, and no more.
std::size_t WalkRows(Connection& connection, const Statements& statements) {
  std::size_t sum = 0;
  for (const auto& statement : {statements.gains, statements.apds, statements.febs, statements.cables}) {
    const auto rows = connection.Ask(statement);
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
      for (int column = 0; column < PQnfields(rows.get()); ++column) {
        sum += static_cast<unsigned char>(*PQgetvalue(rows.get(), row, column));
      }
    }
  }
  return sum;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ReadOptions(argc, argv);
  const Statements statements = ReadStatements(options.statements);
  Stopwatch watch;
  FlatDetector detector;
  Hardware hardware;
  volatile std::size_t walked = 0;
  Connection connection(options.database, statements.begin);
  if (options.stage == Stage::Pull) {
    walked = WalkRows(connection, statements);
  } else {
    const std::string configId = ReadRun(connection, statements, options.run, detector);
    ReadInstalled(connection, statements, detector);
    ReadConfiguration(connection, statements, configId, detector);
    if (options.stage == Stage::All) {
      ReadSettings(connection, statements, configId, detector);
      ReadGains(connection, statements, options.stream, hardware);
      ReadAPDs(connection, statements, hardware);
      ReadFEBs(connection, statements, hardware);
      ReadCables(connection, statements, hardware);
      StoreGains(hardware, detector);
    } else {
      detector.temperature.assign(kBoards, -100.0F);  // as long as nobody asked
    }
  }
  connection.Close();
  watch.Stop();
  const long peak = PeakKilobytes();
  Answers answers;
  if (options.stage != Stage::Pull) { answers = AnswersOf(detector, true); }
  AddHardware(hardware, answers);
  Report(watch, peak, connection.GetTraffic(), answers);
  return walked == 1 ? 1 : 0;
}
