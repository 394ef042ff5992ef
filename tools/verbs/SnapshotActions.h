#pragma once

#include <string>
#include <vector>

#include "tools/verbs/Verb.h"

namespace brio::tools {

/// What the command line says of a snapshot.
struct SnapshotRequest {
  std::string action;              ///< save, info, verify
  std::vector<std::string> words;  ///< save: more runs, as "Birch:13000-13020"; else the file
  std::string output;              ///< save: the file
  bool append = false;             ///< save: keep the runs of the file that is there
  std::string against;             ///< verify: databases to compare with, in the form of BRIO_DATABASE
};

/// `runhistory snapshot save`: runs into a file.
ExitStatus SaveSnapshot(const Options& options, bool isRunGiven, const SnapshotRequest& request);
/// `runhistory snapshot info`: what a file holds.
ExitStatus TellSnapshot(const Options& options, const SnapshotRequest& request);
/// `runhistory snapshot verify`: whether a file is whole, and what has changed in a database since.
ExitStatus VerifySnapshot(const Options& options, const SnapshotRequest& request);

}  // namespace brio::tools
