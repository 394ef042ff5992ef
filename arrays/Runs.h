#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "arrays/Status.h"
#include "framework/Export.h"

namespace brio::arrays {

/// One line of the runs table, and what other tables add up to for the run. What the table holds no value
/// for has Status::NotRecorded.
struct RunLine {
  int run = 0;
  Value<std::string> start;  ///< "2014-06-10 03:00:00", UTC
  Value<std::string> stop;
  /// Seconds from start to stop; Status::NotRecorded also where one of them is no time, or the stop is the
  /// earlier one.
  Value<long long> duration;
  Value<std::string> type;
  Value<int> partition;
  Value<long long> configuration;
  Value<int> subruns;
  /// Diblocks and DCMs in the resources table, masked ones included; Status::NotInRun for a run that has no
  /// resources, Status::NotAsked when nobody asked, or for too many runs, Status::RunNotLoaded when they
  /// could not be read.
  Value<int> diblocks;
  Value<int> dcms;
  /// Protons on target, as stored; Status::NotAsked when nobody asked, Status::RunNotLoaded when they could
  /// not be read.
  Value<float> pot;
  /// The newest good-diblock mask, bit 0 for diblock 1; Status::NotRecorded for none and for NULL, else as
  /// pot.
  Value<int> goodDiBlocks;
};

/// A comparison of a column of the runs table with a value, which PostgreSQL reads as the column's type; a
/// time without a zone is UTC.
struct RunCondition {
  std::string column;
  std::string comparison;  ///< one of = != < <= > >=
  std::string value;
};

/// "nsubruns >= 20", blanks or none around the comparison. \throws std::invalid_argument for another text
BRIO_EXPORT RunCondition ConditionIn(const std::string& text);

/// Which runs; what is not set selects nothing. Times are texts that PostgreSQL reads; without a zone they
/// are UTC.
struct RunSelection {
  std::optional<int> first;          ///< the lowest number
  std::optional<int> last;           ///< the highest number
  std::optional<std::string> since;  ///< started then or later
  std::optional<std::string> until;  ///< started before
  std::optional<std::string> at;     ///< going on then; without a stop until the partition's next start
  std::optional<std::string> type;
  std::optional<int> partition;
  std::optional<long long> configuration;
  std::vector<RunCondition> where;
  std::size_t newest = 0;             ///< at most so many, those with the highest numbers; 0 for all
  bool withResources = false;         ///< count diblocks and DCMs,
  std::size_t mostWithResources = 0;  ///< if there are no more runs than this; 0 for any number
  bool withPOT = false;               ///< read the protons on target
  bool withMasks = false;             ///< read the good-diblock masks
};

/// A run by its number, with everything that a list can tell: what a snapshot keeps of it for lists.
BRIO_EXPORT RunSelection AllOf(int run);

/// The runs of a detector in ascending order of their numbers, in one statement. Where resources, masks or
/// protons on target cannot be read, the runs are asked for again without them. \return nothing, with the
/// reason logged at error severity, when the runs table cannot be read; that includes a value that is none of
/// its column's type. A snapshot answers for the runs that it holds; one between `first` and `last` that it
/// does not hold is a failure, and so are times and comparisons, which only a server knows.
/// \throws std::invalid_argument for a column or a comparison that there is not,
/// cet::exception "BrioDatabase" for a missing or broken definition file
BRIO_EXPORT std::optional<std::vector<RunLine>> ListRuns(const std::string& detector,
                                                         const RunSelection& selection = {});

}  // namespace brio::arrays
