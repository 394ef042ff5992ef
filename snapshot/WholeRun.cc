#include "snapshot/WholeRun.h"

#include <functional>
#include <new>
#include <stdexcept>

#include "RunHistory/RunHistory.h"
#include "database/LoadScope.h"
#include "framework/exception.h"

namespace brio::snapshot {
namespace {

constexpr const char* kDatabaseCategory = "BrioDatabase";

std::string Trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

/// Runs loaders, each whatever became of those before.
class Loaders {
public:
  /// \return what the loader does; false when it threw
  bool Run(const std::function<bool()>& load) {
    try {
      return load();
    } catch (const std::bad_alloc&) { throw; } catch (const cet::exception& error) {
      // A run without resources is thrown about as well, and belongs into the snapshot as it is.
      if (error.category() == kDatabaseCategory) { Note(error.message()); }
    } catch (const std::out_of_range&) {  // NOLINT(bugprone-empty-catch): a name too short to cut, likewise
    } catch (const std::exception& error) { Note(error.what()); }
    return false;
  }
  const std::optional<std::string>& Failure() const { return failure_; }

private:
  void Note(const std::string& reason) {
    if (!failure_) { failure_ = Trimmed(reason); }
  }

  std::optional<std::string> failure_;
};

}  // namespace

AskedRun AskForAll(int run, const std::string& detector) {
  const brio::dbi::LoadScope scope;
  Loaders loaders;
  AskedRun asked;
  dbi::RunHistory history(run, detector);
  // Before the record: once a simulated run is built it takes its protons as loaded.
  loaders.Run([&] { return history.LoadPOT(); });
  loaders.Run([&] {
    history.GetDQSubrunInfo();
    return true;
  });
  // What it throws about, a run without resources say, it throws about under every mask.
  const bool hasRecord = loaders.Run([&] {
    asked.isMissing = !history.LoadDAQRunHistory();
    return !asked.isMissing;
  });
  if (hasRecord) {
    loaders.Run([&] { return history.LoadHardwareInfo(); });
    loaders.Run([&] { return history.LoadPixelInfo(0); });
    loaders.Run([&] { return history.LoadAPDSettings(); });
  }
  dbi::RunHistory masked(run, detector);
  masked.SetUseGoodDiBlockMask(true);
  loaders.Run([&] { return masked.LoadGoodDiBlockMask(); });
  asked.failure = loaders.Failure();
  asked.wasInterrupted = dbi::LoadScope::WasInterrupted();
  return asked;
}

}  // namespace brio::snapshot
