#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <system_error>

#include "tools/report/IndexPage.h"
#include "tools/report/RunPage.h"
#include "tools/shared/Console.h"
#include "tools/shared/OutputFile.h"
#include "tools/shared/RunByRun.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

namespace fs = std::filesystem;

struct ReportOptions {
  std::string output = "-";
};

void WriteFile(const std::string& path, const std::string& text) {
  OutputFile file(path);
  file.Stream() << text;
  file.Keep();
}

/// One page, to a file or standard output.
ExitStatus ReportRun(const ReportOptions& asked, const Options& options) {
  OutputFile file(asked.output);
  RunReports reports(options);
  std::string why;
  const auto report = reports.Make(options.run, why);
  if (report) {
    file.Stream() << RunPage(*report);
    file.Keep();
    why = report->reason;
  }
  if (why.empty()) { return kAnswered; }
  console::Say("runhistory: run " + std::to_string(options.run) + " of " + options.detector + ": " + why);
  return kUnavailable;
}

void MakeFolder(const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error || !fs::is_directory(folder)) {
    throw std::runtime_error("cannot write " + folder + ": " + (error ? error.message() : "it is no folder"));
  }
}

/// A page for each run, and the index.
ExitStatus ReportRange(const ReportOptions& asked, const Options& options) {
  if (asked.output == "-") {
    console::Say("runhistory: the pages of a range of runs need a folder: --output FOLDER");
    return kWrongUsage;
  }
  MakeFolder(asked.output);
  const fs::path folder = asked.output;
  const std::string indexPath = (folder / "index.html").string();
  OutputFile index(indexPath);  // tried before the runs are loaded
  RunReports reports(options);
  std::vector<IndexedRun> runs;
  const auto status = AnswerLineByLine(
      options, {}, [&](const arrays::RunLine& line, std::ostream&, Json& object) -> std::string {
        std::string why;
        const auto report = reports.Make(line.run, why);
        if (!report) { return why; }
        const std::string name = std::to_string(line.run) + ".html";
        WriteFile((folder / name).string(), RunPage(*report, "index.html"));
        object["page"] = (folder / name).string();
        runs.push_back(Indexed(*report, name));
        return report->reason;
      });
  if (runs.empty()) { return kUnavailable; }
  index.Stream() << IndexPage(options.detector, runs);
  index.Keep();
  if (!options.json) { console::Answer() << indexPath << ": " << Counted(runs.size(), "run") << '\n'; }
  return status;
}

}  // namespace

Action PrepareReport(CLI::App& command, const Options& options) {
  RequireRuns(command);
  auto asked = std::make_shared<ReportOptions>();
  command
      .add_option("-o,--output", asked->output,
                  "Write to this file, - for standard output, as without; of a range of runs, to this folder")
      ->type_name("FILE");
  TakeRunAsArgument(command);
  return [asked, &options] {
    return options.runs.isRange ? ReportRange(*asked, options) : ReportRun(*asked, options);
  };
}

}  // namespace brio::tools
