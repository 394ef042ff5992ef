#pragma once

#include <string>

#include "tools/maps/BoardMap.h"
#include "tools/shared/Format.h"

namespace brio::tools {

/// A drawing for a terminal: each diblock a block of lines, one a DCM, one character a board; a legend below.
std::string TextForm(const BoardMap& map, bool colored);

/// A picture, as an SVG document with title, axes, unit, colour scale and legend.
std::string SvgForm(const BoardMap& map);

/// One line a board, with where it is read out and the plane and module that it reads. The value is empty
/// where there is none. A map of gains has a column more: the mean that was measured, where another is used.
std::string CsvForm(const BoardMap& map);
/// The same as an object with a list of boards.
Json JsonForm(const BoardMap& map);

/// "Birch, run 13000: mean threshold of a board's enabled pixels (ADC counts)".
std::string TitleOf(const BoardMap& map);
/// The quantity's title with its unit, and " V" to set behind a value; quantities without a unit have
/// neither.
std::string TitledUnit(const BoardMap& map);
std::string UnitSuffix(const BoardMap& map);
/// A value with as many digits as its quantity deserves.
std::string ValueText(const BoardMap& map, double value);

/// The boards of a map one DCM after the other.
struct DCMRow {
  int diblock;
  int dcm;
  const MapBoard* begin;
  const MapBoard* end;
};
std::vector<DCMRow> RowsOf(const BoardMap& map);

}  // namespace brio::tools
