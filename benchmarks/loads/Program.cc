#include "benchmarks/loads/Program.h"

#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace brio::benchmarks {

Options ReadOptions(int argc, char** argv) {
  Options options;
  CLI::App app{"Loads one far-detector run and reports time, memory and sums of what it read."};
  const std::map<std::string, Stage> stages{
      {"all", Stage::All}, {"thresholds", Stage::Thresholds}, {"pull", Stage::Pull}};
  app.add_option("--run", options.run, "the run");
  app.add_option("--stage", options.stage, "how much of it to load")
      ->transform(CLI::CheckedTransformer(stages));
  app.add_option("--database", options.database, "connection string of the far detector's database");
  app.add_option("--statements", options.statements, "file of the statements, one a line");
  app.add_flag("--stream", options.stream, "take the gains row by row");
  app.add_option("--diblocks", options.diblocks, "leave the diblocks above this one out");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) { std::exit(app.exit(error)); }
  return options;
}

Statements ReadStatements(const std::string& file) {
  std::ifstream lines(file);
  Statements s;
  for (std::string* statement : {&s.begin, &s.runs, &s.resources, &s.hardware, &s.masks, &s.thresholds,
                                 &s.settings, &s.gains, &s.apds, &s.febs, &s.cables}) {
    if (!std::getline(lines, *statement) || statement->empty()) {
      throw std::runtime_error("cannot read the statements in \"" + file + "\"");
    }
  }
  return s;
}

double ProcessorMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto milliseconds = [](const timeval& time) {
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

long PeakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    long value = 0;
    if (key == "VmHWM:" && status >> value) { return value; }
    status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  throw std::runtime_error("cannot read VmHWM in /proc/self/status");
}

void Report(const Stopwatch& watch, long peakKilobytes, const Traffic& traffic, const Answers& answers) {
  const nlohmann::json report{{"milliseconds", watch.Milliseconds()},
                              {"processor_milliseconds", watch.OnProcessor()},
                              {"peak_kilobytes", peakKilobytes},
                              {"connections", traffic.connections},
                              {"statements", traffic.statements},
                              {"rows", traffic.rows},
                              {"answers", answers.Sums()}};
  std::cout << report.dump() << std::endl;
}

}  // namespace brio::benchmarks
