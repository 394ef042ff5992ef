#pragma once

#include <string>

#include "tools/maps/BoardMap.h"
#include "tools/maps/ColorScale.h"
#include "tools/maps/MapLayout.h"
#include "tools/shared/Format.h"

namespace brio::tools {

/// How a map is drawn.
struct MapStyle {
  View view = View::Readout;
  ScaleChoice scale;
  // Of pictures only. A page that has its own takes the panels alone.
  bool hasHeading = true;   ///< title, what the run was, mean and spread
  bool hasLegend = true;    ///< the colours' scale, why boards have no value, which lie beyond the scale
  bool hasTooltips = true;  ///< what each board says when it is pointed at
  /// Else texts have the current colour of what surrounds the picture, and its width is that of its room.
  bool hasPaper = true;
  /// For a program that blurs what it enlarges: images have as many pixels as they are drawn with.
  bool isForRenderer = false;
  /// Begins the names of the picture's patterns, of which a page must have each once.
  std::string ids;
};

/// A drawing for a terminal: each diblock a block of lines, one a DCM, or a module of both views, one
/// character a board; a legend below.
std::string TextForm(const BoardMap& map, const MapStyle& style, bool colored);

/// A picture, as an SVG document with title, axes, unit, colour scale and legend, of less than 700 kB;
/// without heading, legend and tooltips less than 200 kB.
std::string SvgForm(const BoardMap& map, const MapStyle& style);

/// One line a board, with where it is read out and the plane and module that it reads; of a map of channels
/// one a channel, with its pixel, plane and cell. The value is empty where there is none. A map of gains has
/// a column more: the mean that was measured, where another is used. A difference has both runs' states and
/// values too.
std::string CsvForm(const BoardMap& map);
/// The same as the text of an object with a list of boards, or of channels.
std::string JsonForm(const BoardMap& map);

/// "Birch, run 13000: mean threshold of a board's enabled pixels (ADC counts)".
std::string TitleOf(const BoardMap& map);
/// The quantity's title with its unit, and " V" to set behind a value; quantities without a unit have
/// neither.
std::string TitledUnit(const BoardMap& map);
std::string UnitSuffix(const BoardMap& map);
/// A value with as many digits as its quantity deserves; a difference has its sign.
std::string ValueText(const BoardMap& map, double value);
int ValueDigits(const BoardMap& map);

/// "1 board", "2 boards"; of a map of channels those.
std::string CountedIn(const BoardMap& map, std::size_t number);
/// "14/12/63", and with the pixel of a map of channels.
std::string PlaceOf(const BoardMap& map, const MapBoard& board);

/// What a diblock's heading says when the status of all its boards is the same: "masked", "not in the run";
/// else nothing.
std::string NoteOf(const BoardMap& map, int diblock);
/// A status as a legend has it, "not enabled"; in a difference "not enabled in one of the runs".
std::string ReasonName(const BoardMap& map, arrays::Status status);

/// The boards of a map one DCM after the other.
struct DCMRow {
  int diblock;
  int dcm;
  const MapBoard* begin;
  const MapBoard* end;
};
std::vector<DCMRow> RowsOf(const BoardMap& map);

}  // namespace brio::tools
