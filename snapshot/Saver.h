#pragma once

#include <functional>
#include <memory>
#include <string>

#include "framework/Export.h"

namespace brio::snapshot {

/// What became of a run that was to be saved.
enum class Saved {
  Whole,    ///< every answer that any question about it needs
  Missing,  ///< likewise: the runs table has no such run, and the snapshot says so
  Refused   ///< not everything could be read, so nothing of it is saved
};

struct SavedResult {
  Saved saved = Saved::Refused;
  std::string reason;  ///< why it was refused
};

/// Saves runs into a snapshot file: asks the databases (BRIO_DATABASE) for all that the loaders ever ask
/// about a run, under every setting, and stores the answers. The file appears, or takes the place of an old
/// one, as a whole in Commit; until then, and when the process ends before that, the old one stays.
///
/// Used by one thread at a time. Other objects of the process may load meanwhile, but none that loads APD
/// settings (see RunHistory). Loaders print what they always print; SetProgressOutput says where.
///
/// \throws cet::exception "BrioDatabase", naming the file and the reason, from every member function, when
/// the file
///         cannot be written, or the old one cannot be read
class BRIO_EXPORT Saver {
public:
  enum class Old { Replace, Append };

  /// \param old  whether a file of that name is replaced, or its runs stay; one that is not there has none
  explicit Saver(const std::string& path, Old old = Old::Replace);
  ~Saver();
  Saver(const Saver&) = delete;
  Saver& operator=(const Saver&) = delete;

  /// Asks about one run, beside the loaders. What fails there is not saved, and does not refuse the run.
  using Question = std::function<void(const std::string& detector, int run)>;
  /// What else to ask about each run from now on, so that the file answers it too.
  void AlsoAsk(Question question);

  /// Reads a run and stores it, in the place of the one that was there. Simulated runs have answers, too.
  SavedResult Save(const std::string& detector, int run);
  void Commit();

  /// The file that Commit puts in its place, for a process that is made to end.
  const std::string& TemporaryPath() const;

private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace brio::snapshot
