#pragma once

#include <set>
#include <string>
#include <vector>

#include "tools/shared/Format.h"
#include "tools/shared/Loading.h"
#include "tools/verbs/RunNotes.h"

namespace brio::tools {

/// What a screen on a run says in one line.
struct ScreenLine {
  std::string label;
  std::string shown;  ///< the fact, or why it is not known
  bool isKnown = true;
};

/// One screen on a run, as lines and as JSON. A fact is added to both, or in its place why it is not known.
class RunScreen {
public:
  void Add(const std::string& label, const char* key, const Json& value, const std::string& shown);
  /// A number that stands in the line before, in JSON.
  void AddNumber(const char* key, int value) { object_[key] = value; }
  void AddUnknown(const std::string& label, const char* key, const std::string& reason);

  const std::vector<ScreenLine>& Lines() const { return lines_; }
  /// The facts by their keys; what is not known is null, its reason in "not_known".
  const Json& Object() const { return object_; }

private:
  std::vector<ScreenLine> lines_;
  Json object_ = Json::object();
  std::set<std::string> reasons_;
};

/// A screen with what was read for it.
struct ScreenedRun {
  RunScreen screen;
  RunNotes notes;                                ///< of a simulated run none
  std::vector<brio::dbi::DQSubrunInfo> quality;  ///< the records of its subruns
  bool couldRead = true;                         ///< false when a database complained
};

/// Asks a run, which was loaded up to its configuration as far as possible, for everything that one screen
/// shows, and its protons on target, masks, data-quality records and notes.
ScreenedRun ScreenOf(brio::dbi::RunHistory& history, const LoadedParts& parts);

}  // namespace brio::tools
