#include "tools/shared/RunByRun.h"

#include <cstddef>
#include <iostream>
#include <optional>
#include <sstream>

#include "tools/shared/Console.h"
#include "tools/shared/Progress.h"
#include "tools/shared/RunRange.h"

namespace brio::tools {
namespace {

using arrays::RunLine;

RunLine LineOf(int run) {
  RunLine line;
  line.run = run;
  return line;
}

class Answers {
public:
  Answers(const Options& options, const LineAnswer& answer) : options_(options), answer_(answer) {}

  /// How many runs there will be.
  void Expect(std::size_t runs) { expected_ = runs; }

  void Ask(const RunLine& line) {
    if (!progress_) { progress_.emplace(""); }
    progress_->Next("loading run " + std::to_string(line.run) + " of " + options_.detector, expected_);
    std::ostringstream text;
    Json object{{"detector", options_.detector}, {"run", line.run}};
    const std::size_t bare = object.size();
    const std::string reason = answer_(line, text, object);
    if (reason.empty()) {
      ++answered_;
    } else {
      console::Say("runhistory: run " + std::to_string(line.run) + " of " + options_.detector + ": " +
                   reason);
      if (options_.runs.isRange || object.size() > bare) { object["reason"] = reason; }
    }
    if (!options_.json) {
      progress_->Aside([&] { console::Answer() << text.str() << std::flush; });
    } else if (object.size() > bare) {
      list_.push_back(std::move(object));
    }
  }

  ExitStatus Finish() {
    progress_.reset();
    if (options_.json && options_.runs.isRange) {
      console::Answer() << JsonText(list_) << '\n';
    } else if (options_.json && !list_.empty()) {
      console::Answer() << JsonText(list_.front()) << '\n';
    }
    return answered_ > 0 ? kAnswered : kUnavailable;
  }

private:
  const Options& options_;
  const LineAnswer& answer_;
  Json list_ = Json::array();
  int answered_ = 0;
  std::size_t expected_ = 1;
  std::optional<Progress> progress_;
};

void AskRange(const Options& options, const arrays::RunSelection& selection, Answers& answers) {
  const RunRange& range = options.runs;
  if (IsSimulated(range)) {
    answers.Expect(static_cast<std::size_t>(range.last - range.first) + 1);
    for (int run = range.first;; ++run) {
      answers.Ask(LineOf(run));
      if (run == range.last) { return; }
    }
  }
  const auto lines = RunsOf(options.detector, range, selection);
  answers.Expect(lines.size());
  for (const auto& line : lines) {
    answers.Ask(line);
  }
  if (range.isOpen && lines.empty()) {
    console::Say("runhistory: the last run of " + options.detector + " is " +
                 std::to_string(LastRun(options.detector)));
  }
  const std::string missing = MissingFrom(range, lines);
  if (!missing.empty()) {
    console::Say("runhistory: the runs table of " + options.detector + " does not have " + missing);
  }
}

}  // namespace

ExitStatus AnswerLineByLine(const Options& options, const arrays::RunSelection& selection,
                            const LineAnswer& answer) {
  Answers answers(options, answer);
  if (options.runs.isRange) {
    AskRange(options, selection, answers);
  } else if (IsSimulated(options.run)) {
    answers.Ask(LineOf(options.run));
  } else {
    const auto lines = RunsOf(options.detector, options.runs, selection);
    if (lines.empty()) {
      const LineAnswer none = [](const RunLine&, std::ostream&, Json&) { return "there is no such run"; };
      Answers missing(options, none);
      missing.Ask(LineOf(options.run));
      return missing.Finish();
    }
    answers.Ask(lines.front());
  }
  return answers.Finish();
}

ExitStatus AnswerRunByRun(const Options& options, const RunAnswer& answer) {
  const LineAnswer load = [&](const RunLine& line, std::ostream& text, Json& object) {
    brio::dbi::RunHistory history(line.run, options.detector);
    ApplyTo(history, options);
    return answer(history, text, object);
  };
  Answers answers(options, load);
  if (options.runs.isRange) {
    AskRange(options, {}, answers);
  } else {
    answers.Ask(LineOf(options.run));
  }
  return answers.Finish();
}

}  // namespace brio::tools
