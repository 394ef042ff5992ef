#include <memory>
#include <stdexcept>

#include "tools/history/HistoryForms.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Loading.h"
#include "tools/shared/OutputFile.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct HistoryOptions {
  std::string quantity;
  std::string channel;
  std::string board;
  std::string dcm;
  bool detectorMean = false;
  double leastChange = 0;
  std::string form;
  std::string file = "-";
};

/// \return nothing, with the reason in `why`, for what the detector does not have
std::optional<HistorySubject> SubjectOf(const HistoryOptions& asked, const std::string& detector,
                                        std::string& why) {
  using Kind = HistorySubject::Kind;
  const auto id = static_cast<briodaq::cnv::DetId>(briodaq::cnv::DetInfo::GetId(detector));
  std::optional<ChannelAddress> address = ChannelAddress();
  HistorySubject subject;
  std::string name;
  if (!asked.channel.empty()) {
    subject.kind = Kind::Channel;
    name = "channel \"" + asked.channel + "\": ";
    address = ParseChannel(asked.channel, id, why);
  } else if (!asked.board.empty()) {
    subject.kind = Kind::Board;
    name = "board \"" + asked.board + "\": ";
    address = ParseBoard(asked.board, id, why);
  } else if (!asked.dcm.empty()) {
    subject.kind = Kind::DCM;
    name = "DCM \"" + asked.dcm + "\": ";
    address = ParseDCM(asked.dcm, id, why);
  }
  if (!address) {
    why = name + why;
    return std::nullopt;
  }
  subject.address = *address;
  return subject;
}

HistoryPoint Ask(const arrays::RunLine& line, const History& history, const Options& options) {
  brio::dbi::RunHistory run(line.run, options.detector);
  ApplyTo(run, options);
  const LoadedParts parts = LoadParts(run, history.quantity.depth);
  const Outcome& outcome = parts.UpTo(history.quantity.depth);
  HistoryPoint point;
  if (parts.run.ok) { point = PointOf(run, parts, history.quantity, history.subject); }
  if (!outcome.IsClean()) {
    SayUnavailable(run, outcome.reason);
    point.couldBeLoaded = false;
    if (!point.value) { point.status = outcome.reason; }
  }
  point.run = line.run;
  if (line.start.IsKnown()) { point.start = line.start.value; }
  return point;
}

void WriteTo(std::ostream& stream, const std::string& form, const History& history) {
  if (form == "svg") {
    stream << SvgForm(history);
  } else if (form == "text") {
    stream << TextForm(history);
  } else {
    WriteRecords(stream,
                 form == "csv"    ? arrays::Form::CSV
                 : form == "json" ? arrays::Form::JSON
                                  : arrays::Form::NDJSON,
                 history);
  }
}

/// Empty for a file's ending that names no form.
std::string FormOf(const HistoryOptions& asked, const Options& options) {
  if (options.json) { return "json"; }
  if (!asked.form.empty()) { return asked.form; }
  if (asked.file == "-") { return "text"; }
  const std::string ending = EndingOf(asked.file);
  for (const char* form : {"svg", "csv", "json", "jsonl"}) {
    if (ending == form) { return form; }
  }
  return ending == "txt" ? "text" : "";
}

ExitStatus Answer(const HistoryOptions& asked, const Options& options) {
  std::string why;
  const auto subject = SubjectOf(asked, options.detector, why);
  const std::string form = FormOf(asked, options);
  if (form.empty()) {
    why =
        "\"" + asked.file + "\" ends in none of .svg, .csv, .json, .jsonl and .txt; --format names the form";
  }
  if (!why.empty() || !subject) {
    console::Say("runhistory: " + why);
    return kWrongUsage;
  }
  OutputFile file(asked.file);
  const auto lines = RunsOf(options.detector, options.runs);
  History history{QuantityNamed(asked.quantity), *subject, options.detector, {}};
  bool isAnyLoaded = false;
  for (const auto& line : lines) {
    const auto& point = history.points.emplace_back(Ask(line, history, options));
    isAnyLoaded = isAnyLoaded || point.couldBeLoaded;
  }
  const std::string missing = MissingFrom(options.runs, lines);
  if (!missing.empty()) {
    console::Say("runhistory: the runs table of " + options.detector + " does not have " + missing);
  }
  if (lines.empty()) { return kUnavailable; }
  MarkChanges(history.points, asked.leastChange);
  WriteTo(file.Stream(), form, history);
  file.Keep();
  return isAnyLoaded ? kAnswered : kUnavailable;
}

}  // namespace

Action PrepareHistory(CLI::App& command, const Options& options) {
  RequireRuns(command);
  auto asked = std::make_shared<HistoryOptions>();
  std::vector<std::string> names;
  for (const auto& quantity : Quantities()) {
    names.emplace_back(quantity.name);
  }
  command.add_option("quantity", asked->quantity, "What to follow")
      ->type_name("QUANTITY")
      ->required()
      ->check(CLI::IsMember(names));
  auto* subject = command.add_option_group("subject", "What to follow it of");
  subject->add_option("--channel", asked->channel, "A channel, in any of the forms of the verb channel")
      ->type_name("CHANNEL");
  subject->add_option("--board", asked->board, "The board at a diblock, DCM and port: 2/1/5")
      ->type_name("PLACE");
  subject->add_option("--dcm", asked->dcm, "The boards of a DCM: 2/1")->type_name("PLACE");
  subject->add_flag("--detector-mean", asked->detectorMean, "All boards of the detector");
  subject->require_option(1);
  command.add_option("--change", asked->leastChange, "Mark only changes of more than this")
      ->type_name("X")
      ->check(CLI::NonNegativeNumber);
  command.add_option("--format", asked->form, "The form, whatever the file's ending; text unless given")
      ->check(CLI::IsMember({"text", "csv", "json", "jsonl", "svg"}));
  command
      .add_option("-o,--output", asked->file,
                  "Write to this file, in the form that its ending names; - for standard output, as without")
      ->type_name("FILE");
  TakeRunAsArgument(command);
  return [asked, &options] { return Answer(*asked, options); };
}

}  // namespace brio::tools
