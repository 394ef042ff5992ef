#pragma once

#include "arrays/Channels.h"
#include "tools/maps/BoardMap.h"
#include "tools/maps/BoardMapForms.h"

namespace brio::tools {

/// Takes one quantity of a run's channels; of what a board's channels share, each has the board's.
/// \param boards  of the same run
BoardMap MakeChannelMap(const arrays::Channels& channels, const arrays::Boards& boards,
                        const QuantityInfo& quantity);

/// The picture of a map of channels, plane by cell: an image with a dot for each. Boards whose channels have
/// no value for the same reason look as in a map of boards.
std::string ChannelSvgForm(const BoardMap& map, const MapStyle& style);

}  // namespace brio::tools
