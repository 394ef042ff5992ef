#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/faults/HostileProxy.h"
#include "tests/faults/HostileQuestions.h"

namespace brio::test {

/// A message of a load at which it can be attacked.
struct Place {
  PassedMessage message;
  /// What the load is doing: "connecting", "BEGIN", the table that a statement reads, "COMMIT".
  std::string step;
  /// False for the last row, which has a place besides the first.
  bool isFirst = true;
  /// "runs, RowDescription", say.
  std::string InWords() const;
};

/// What must come of an attack, besides that the load ends as it announces and that the run holds each group
/// of facts whole or not at all.
enum class Then {
  Consistent,
  /// Something is missing, and the log says so.
  SomethingLost,
  /// Nothing is missing.
  NothingLost,
  /// The server told lies in good form: whatever they amount to.
  Whatever
};

/// Something that is done at a place of a load.
struct Trial {
  std::string name;
  Attack attack;
  Then then = Then::Consistent;
  /// Whether the load has limits of a second or two, because it would wait for a server that sends nothing of
  /// use. All others have the usual ones.
  bool waits = false;
};

/// Loads of one run through a proxy that attacks them. Each is checked to end, with nothing but what the
/// loaders announce, nothing left open, and contents that fit its outcome; and after the attack the same
/// object answers as one that was never attacked. The outcomes are printed as a table.
class HostileLoads {
public:
  /// \param database  of the tests' server, with the mini experiment in it
  HostileLoads(std::unique_ptr<HostileQuestions> questions, std::string database);

  /// The first message of each type, and the last row, that either side sends in each step.
  const std::vector<Place>& Places() const { return places_; }
  void Try(const Trial& trial, const Place& place);

private:
  struct Ending;
  Ending Attacked(dbi::RunHistory& run, const Trial& trial);
  void Check(const dbi::RunHistory& run, const Trial& trial, const Ending& ending) const;
  void CheckRecovery(dbi::RunHistory& run, const Trial& trial, const Ending& ending) const;
  std::string ConnectionString(int connectTimeout) const;
  void FindPlaces();

  std::unique_ptr<HostileQuestions> questions_;
  std::string database_;
  HostileProxy proxy_;
  std::vector<Place> places_;
};

/// The places of one direction.
std::vector<Place> PlacesFrom(const std::vector<Place>& places, Direction direction);
/// A few of them, in which each type of message and each step occurs.
std::vector<Place> FewOf(const std::vector<Place>& places);

}  // namespace brio::test
