#include "tools/shared/RunByRun.h"

#include <iostream>
#include <sstream>

#include "tools/shared/Console.h"

namespace brio::tools {
namespace {

struct Answers {
  const Options& options;
  const RunAnswer& answer;
  Json list = Json::array();
  int answered = 0;

  void Ask(int run) {
    brio::dbi::RunHistory history(run, options.detector);
    ApplyTo(history, options);
    std::ostringstream text;
    Json object{{"detector", options.detector}, {"run", run}};
    const std::size_t bare = object.size();
    if (answer(history, text, object)) { ++answered; }
    if (!options.json) {
      console::Answer() << text.str() << std::flush;
    } else if (object.size() > bare) {
      list.push_back(std::move(object));
    }
  }
};

}  // namespace

ExitStatus AnswerRunByRun(const Options& options, const RunAnswer& answer) {
  Answers answers{options, answer};
  const RunRange& range = options.runs;
  const int last = range.isOpen ? LastRun(options.detector) : range.last;
  if (last < range.first) {
    console::Say("runhistory: the last run of " + options.detector + " is " + std::to_string(last));
    return kUnavailable;
  }
  for (int run = range.first;; ++run) {
    answers.Ask(run);
    if (run == last) { break; }
  }
  if (options.json) {
    if (range.isRange) {
      console::Answer() << JsonText(answers.list) << '\n';
    } else if (!answers.list.empty()) {
      console::Answer() << JsonText(answers.list.front()) << '\n';
    }
  }
  return answers.answered > 0 ? kAnswered : kUnavailable;
}

}  // namespace brio::tools
