#pragma once

#include <vector>

#include "tests/faults/HostileLoads.h"

namespace brio::test::trials {

/// The connection is cut before the message, or in the middle of it. \param times  on how many connections
Trial CutBefore(int times = 1'000'000);
Trial CutInside();
/// From the message, or from its middle, on nothing passes any more.
Trial SilenceBefore();
Trial SilenceInside();
/// From the message on the server's bytes pass one by one: without pauses, or so slowly that the load would
/// take minutes, while each byte comes long before the limit for a silent server.
Trial QuickTrickle();
Trial SlowTrickle();
/// In place of the message come notices, or values of settings, without end and without a pause.
Trial NoticesWithoutEnd();
Trial SettingsWithoutEnd();
/// A notice now and then, without end.
Trial NoticesNowAndThen();

/// A message, or all of an answer, in another form than the server's.
struct Forgery {
  /// The type of the message in whose place it begins.
  char type;
  Trial trial;
};

/// Other numbers of columns than were asked for, in the description, the rows, or both.
std::vector<Forgery> ForgedColumns();
/// Messages that are broken, or out of place in an answer.
std::vector<Forgery> ForgedAnswers();
/// The same while connecting.
std::vector<Forgery> ForgedStarts();
/// Rows in good form with other values or in another number.
std::vector<Forgery> ForgedValues();

}  // namespace brio::test::trials
