#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "benchmarks/loads/Answers.h"

namespace brio::benchmarks {

/// How much of a run a program loads.
enum class Stage {
  All,         ///< all that LoadAllDetInfo loads
  Thresholds,  ///< what the first question for a threshold loads
  Pull         ///< the four statements about APDs and FEBs
};

/// The command line of a program that loads a run.
struct Options {
  int run = 13002;
  Stage stage = Stage::All;
  std::string database;    ///< a libpq connection string, of the programs that do not use the library
  std::string statements;  ///< the file that holds the statements; the library writes it when asked to
  bool stream = false;     ///< take the gains row by row rather than at once
  int diblocks = 14;       ///< of the library: leave the diblocks above this one out
};

/// Ends the process when the command line makes no sense or asks for help.
Options ReadOptions(int argc, char** argv);

/// The statements of a whole load, as the library sends them: "begin" and then in order of sending.
struct Statements {
  std::string begin, runs, resources, hardware, masks, thresholds, settings, gains, apds, febs, cables;
};

/// Reads a file with one statement a line.
Statements ReadStatements(const std::string& file);

/// This process's time on a processor so far, its own and the kernel's for it.
double ProcessorMilliseconds();

/// The wall time and the processor time of a load, from construction to Stop().
class Stopwatch {
public:
  void Stop() {
    stop_ = Clock::now();
    processor_ = ProcessorMilliseconds() - processorStart_;
  }
  double Milliseconds() const { return std::chrono::duration<double, std::milli>(stop_ - start_).count(); }
  double OnProcessor() const { return processor_; }

private:
  using Clock = std::chrono::steady_clock;
  double processorStart_ = ProcessorMilliseconds();
  Clock::time_point start_ = Clock::now();
  Clock::time_point stop_;
  double processor_ = 0.0;
};

/// What a load asked of the server.
struct Traffic {
  long connections = 0;
  long statements = 0;
  long rows = 0;  ///< 0 when not counted
};

/// The most memory that this process had resident so far, in kB.
long PeakKilobytes();

/// Writes the last line of standard output, in JSON.
void Report(const Stopwatch& watch, long peakKilobytes, const Traffic& traffic, const Answers& answers);

}  // namespace brio::benchmarks
