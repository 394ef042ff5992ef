#include "arrays/Boards.h"

#include "arrays/BoardReader.h"

namespace brio::arrays {

const Board* Boards::Find(unsigned int diblock, unsigned int dcm, unsigned int port) const {
  const std::size_t index = Layout::Of(detector).BoardAt(diblock, dcm, port);
  return index < boards.size() ? &boards[index] : nullptr;
}

std::string Boards::Why(Status status) const {
  const Outcome* outcome = nullptr;
  switch (status) {
    case Status::RunNotLoaded: outcome = &parts.run; break;
    case Status::HardwareNotLoaded: outcome = &parts.hardware; break;
    case Status::ConfigurationNotLoaded: outcome = &parts.configuration; break;
    case Status::SettingsNotLoaded: outcome = &parts.settings; break;
    default: break;
  }
  return outcome == nullptr || outcome->reason.empty() ? ReasonOf(status) : outcome->reason;
}

Boards MakeBoards(brio::dbi::RunHistory& history, const LoadedParts& parts) {
  Boards made;
  made.detector = history.GetDetectorId();
  made.detectorName = history.GetDetectorName();
  made.run = history.GetRunNumber();
  made.isSimulated = history.IsMC();
  made.parts = parts;
  const auto& places = BoardsOf(made.detector);
  made.boards.reserve(places.size());
  BoardReader reader(history, parts);
  for (const auto& place : places) {
    reader.MoveTo(place);
    made.boards.push_back(reader.Read());
  }
  return made;
}

Board MakeBoard(brio::dbi::RunHistory& history, const LoadedParts& parts, const BoardPlace& place) {
  BoardReader reader(history, parts);
  reader.MoveTo(place);
  return reader.Read();
}

}  // namespace brio::arrays
