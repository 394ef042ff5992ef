#include "arrays/Loading.h"

#include <exception>
#include <new>
#include <stdexcept>

#include "framework/exception.h"

namespace brio::arrays {
namespace {

/// Names the table in which a loader met a DCM name that it could not cut.
bool LoadFrom(const char* table, const std::function<bool()>& load) {
  try {
    return load();
  } catch (const std::out_of_range&) {
    throw std::runtime_error(std::string("the ") + table +
                             " table has a DCM whose name is too short to hold its numbers");
  }
}

/// What the settings loader went on without; empty when it read all.
std::string WhyIncomplete(const brio::dbi::RunHistory& history) {
  std::string list;
  if (history.IsMC()) { return list; }  // it reads none, and the list is of a run before
  for (const auto& part : history.GetIncompleteParts()) {
    list += (list.empty() ? "could not read " : ", ") + part;
  }
  return list;
}

}  // namespace

bool LoadRunRecord(brio::dbi::RunHistory& history) {
  return LoadFrom("resources", [&] { return history.LoadDAQRunHistory(); });
}

bool LoadHardware(brio::dbi::RunHistory& history) {
  return LoadFrom("hardware_position", [&] { return history.LoadHardwareInfo(); });
}

const Outcome& LoadedParts::UpTo(Depth depth) const {
  if (depth == Depth::Run || !run.ok) { return run; }
  if (depth == Depth::Hardware || !hardware.ok) { return hardware; }
  return depth == Depth::Configuration || !configuration.ok ? configuration : settings;
}

Outcome TryTo(const std::function<bool()>& load) {
  Outcome outcome;
  try {
    outcome.ok = load();
    if (!outcome.ok) { outcome.reason = "it could not be loaded"; }
  } catch (const cet::exception& error) { outcome.reason = error.message(); } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) { outcome.reason = error.what(); }
  return outcome;
}

LoadedParts LoadRun(brio::dbi::RunHistory& history, Depth depth, const Attempt& attempt) {
  LoadedParts parts;
  parts.run = attempt([&] {
    const bool found = LoadRunRecord(history);
    parts.isMissing = !found;
    return found;
  });
  if (parts.isMissing) { parts.run.reason = "there is no such run"; }
  if (depth == Depth::Run) { return parts; }
  parts.hardware = parts.run.ok ? attempt([&] { return LoadHardware(history); }) : parts.run;
  if (depth == Depth::Hardware) { return parts; }
  parts.configuration =
      parts.hardware.ok ? attempt([&] { return history.LoadPixelInfo(0); }) : parts.hardware;
  if (depth == Depth::Configuration) { return parts; }
  parts.settings = parts.hardware.ok ? attempt([&] { return history.LoadAPDSettings(); }) : parts.hardware;
  if (parts.settings.IsClean()) { parts.settings.reason = WhyIncomplete(history); }
  return parts;
}

bool IsHardwareRecorded(briodaq::cnv::DetId detector) {
  return detector == briodaq::cnv::Alder || detector == briodaq::cnv::Birch;
}

}  // namespace brio::arrays
