#include "tools/shared/Loading.h"

#include <sstream>
#include <stdexcept>

#include "framework/exception.h"
#include "tools/shared/Console.h"
#include "tools/shared/Progress.h"

namespace brio::tools {
namespace {

/// Line ends and tabs become blanks, several of them one.
std::string OneLine(const std::string& text) {
  std::istringstream words(text);
  std::string line;
  for (std::string word; words >> word;) {
    line += (line.empty() ? "" : " ") + word;
  }
  return line;
}

/// Names the table in which a loader met a DCM name that it could not cut.
bool LoadFrom(const char* table, const std::function<bool()>& load) {
  try {
    return load();
  } catch (const std::out_of_range&) {
    throw std::runtime_error(std::string("the ") + table +
                             " table has a DCM whose name is too short to hold its numbers");
  }
}

}  // namespace

bool LoadRunRecord(brio::dbi::RunHistory& history) {
  return LoadFrom("resources", [&] { return history.LoadDAQRunHistory(); });
}

bool LoadHardware(brio::dbi::RunHistory& history) {
  return LoadFrom("hardware_position", [&] { return history.LoadHardwareInfo(); });
}

Outcome Attempt(const std::function<bool()>& load) {
  const auto complaints = console::Complaints();
  Outcome outcome;
  std::string thrown;
  try {
    outcome.ok = load();
  } catch (const cet::exception& error) { thrown = error.message(); } catch (const std::exception& error) {
    thrown = error.what();
  }
  // The first complaint is nearest to the cause: what comes later is only what follows from it.
  outcome.reason = OneLine(console::ComplaintSince(complaints, true));
  outcome.databaseComplained = !outcome.reason.empty();
  if (outcome.ok) { return outcome; }
  if (outcome.reason.empty()) { outcome.reason = OneLine(thrown); }
  if (outcome.reason.empty()) { outcome.reason = OneLine(console::ComplaintSince(complaints)); }
  if (outcome.reason.empty()) { outcome.reason = "it could not be loaded"; }
  return outcome;
}

const Outcome& LoadedParts::UpTo(Depth depth) const {
  if (depth == Depth::Run || !run.ok) { return run; }
  if (depth == Depth::Hardware || !hardware.ok) { return hardware; }
  return depth == Depth::Configuration ? configuration : settings;
}

LoadedParts LoadParts(brio::dbi::RunHistory& history, Depth depth) {
  const Progress progress("loading " + NameOf(history));
  LoadedParts parts;
  parts.run = Attempt([&] {
    const bool found = LoadRunRecord(history);
    parts.isMissing = !found;
    return found;
  });
  if (parts.isMissing) { parts.run.reason = "there is no such run"; }
  if (depth == Depth::Run) { return parts; }
  parts.hardware = parts.run.ok ? Attempt([&] { return LoadHardware(history); }) : parts.run;
  if (depth == Depth::Hardware) { return parts; }
  parts.configuration =
      parts.hardware.ok ? Attempt([&] { return history.LoadPixelInfo(0); }) : parts.hardware;
  if (depth == Depth::Configuration) { return parts; }
  parts.settings = parts.hardware.ok ? Attempt([&] { return history.LoadAPDSettings(); }) : parts.hardware;
  return parts;
}

bool IsHardwareRecorded(briodaq::cnv::DetId detector) {
  return detector == briodaq::cnv::Alder || detector == briodaq::cnv::Birch;
}

std::string NameOf(const brio::dbi::RunHistory& history) {
  return "run " + std::to_string(history.GetRunNumber()) + " of " + history.GetDetectorName();
}

void SayUnavailable(const brio::dbi::RunHistory& history, const std::string& what) {
  console::Say("runhistory: " + NameOf(history) + ": " + what);
}

}  // namespace brio::tools
