#include "tools/shared/CommandLine.h"

#include <algorithm>
#include <numeric>

#include "tools/shared/Console.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

std::vector<std::string> VerbsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const auto* verb : command.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(verb->get_name());
  }
  return names;
}

/// How many letters have to be changed, added or left out to make one word of another.
std::size_t Distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 1; i <= from.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row.back();
}

[[noreturn]] void RefuseVerb(const CLI::App& command, const std::string& word) {
  const auto verbs = VerbsOf(command);
  std::string message = word.empty() ? "a verb is missing" : "there is no verb \"" + Visible(word) + "\"";
  const auto isNearer = [&](const std::string& a, const std::string& b) {
    return Distance(word, a) < Distance(word, b);
  };
  const auto nearest = std::min_element(verbs.begin(), verbs.end(), isNearer);
  if (nearest != verbs.end() && Distance(word, *nearest) <= std::min<std::size_t>(2, word.size() / 2)) {
    message += "; the nearest is \"" + *nearest + "\"";
  } else {
    std::string list;
    for (const auto& verb : verbs) {
      list += (list.empty() ? "" : ", ") + verb;
    }
    message += "; the verbs are " + list;
  }
  throw CLI::ValidationError(message);
}

/// Whether the word behind an option is its value, in any verb that has the option.
bool TakesNextWord(const CLI::App& command, const std::string& option) {
  const auto verbs = command.get_subcommands([](const CLI::App*) { return true; });
  return std::any_of(verbs.begin(), verbs.end(), [&](const CLI::App* verb) {
    const auto* known = verb->get_option_no_throw(option);
    return known != nullptr && known->get_items_expected_max() > 0;
  });
}

/// Where the verb is; the number of words when there is none.
std::size_t PlaceOfVerb(const CLI::App& command, const std::vector<std::string>& words) {
  std::size_t at = 0;
  while (at < words.size() && words[at].size() > 1 && words[at].front() == '-') {
    at += TakesNextWord(command, words[at]) ? 2 : 1;
  }
  return std::min(at, words.size());
}

}  // namespace

std::vector<std::string> Ordered(const CLI::App& command, std::vector<std::string> words) {
  const std::size_t at = PlaceOfVerb(command, words);
  const auto options = words.begin() + static_cast<std::ptrdiff_t>(at);
  const auto has = [&](const char* option) { return std::find(words.begin(), options, option) != options; };
  if (has("--version")) { return {"--version"}; }
  if (at == words.size()) {
    if (has("--help") || has("-h")) { return {"--help"}; }
    RefuseVerb(command, {});
  }
  std::rotate(words.begin(), options, words.end());
  if (words.front() == "version") { return {"--version"}; }
  if (words.front() == "help") {
    if (words.size() == 1) { return {"--help"}; }
    words = {words[1], "--help"};
  }
  const auto verbs = VerbsOf(command);
  if (std::find(verbs.begin(), verbs.end(), words.front()) == verbs.end()) {
    RefuseVerb(command, words.front());
  }
  // The options that stood before the verb, now last, go right behind it: what follows "--" is no option.
  std::rotate(words.begin() + 1, words.end() - static_cast<std::ptrdiff_t>(at), words.end());
  return words;
}

void TellWrongUsage(const CLI::ParseError& error) {
  console::Say(std::string("runhistory: ") + error.what());
  console::Say("Run with --help for more information.");
}

}  // namespace brio::tools
