#pragma once

#include <memory>
#include <string>

#include "RunHistory/RunHistory.h"
#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

/// A run of the sample, loaded as far as it goes, with its arrays.
struct ArraysOfRun {
  explicit ArraysOfRun(const std::string& detector, int number, const std::string& size = "small",
                       bool useMask = false)
      : ArraysOfRun(server::Template(size), detector, number, useMask) {}
  ArraysOfRun(const std::string& databases, const std::string& detector, int number, bool useMask)
      : database("BRIO_DATABASE", databases), run(number, detector) {
    const CapturedMessages messages("error");
    const CapturedOutput output;
    run.SetUseGoodDiBlockMask(useMask);
    parts = arrays::LoadRun(run, arrays::Depth::Settings);
    boards = arrays::MakeBoards(run, parts);
    channels = arrays::MakeChannels(run, parts);
  }

  EnvironmentVariable database;
  dbi::RunHistory run;
  arrays::LoadedParts parts;
  arrays::Boards boards;
  arrays::Channels channels;
};

}  // namespace brio::test
