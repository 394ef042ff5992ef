#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/maps/ColorScale.h"

namespace brio::tools {

/// How a picture shows a status of boards without a value: a fill of SVG, by patterns that differ without
/// their colours.
/// \param ids  see MapStyle
std::string FillOf(arrays::Status status, const std::string& ids);
/// The same as a name: "not-enabled".
std::string ClassOf(arrays::Status status);
/// The definitions of these patterns.
std::string PatternsOf(const std::string& ids);

/// The fills of boards that are there where the question is yes or no, and of the differences of that.
inline const std::string kYesColor = "#2a5a8c";
inline const std::string kOnlyInRunColor = "#b35806";
inline const std::string kOnlyInMinusColor = "#2166ac";
inline const std::string kNoChangeColor = "#d9d9d9";
/// Of a board that is good.
std::string YesNoColor(const BoardMap& map, const MapBoard& board);

/// The marks of values beyond the scale, as paths within a cell: a triangle that points up, or down, black on
/// white and white on black.
struct BeyondMark {
  const char* paper;
  const char* ink;
  bool isUp;
};
inline constexpr BeyondMark kAboveMark{"#ffffff", "#000000", true};
inline constexpr BeyondMark kBelowMark{"#000000", "#ffffff", false};

/// Where a dot is too small for a mark: colours that no palette has.
inline const std::string kAboveColor = "#ff2fd0";
inline const std::string kBelowColor = "#00e5ff";

/// The lower part of a picture: the scale with the values' true extremes at its ends, why others have no
/// value, and those beyond the scale by name.
struct MapLegend {
  std::optional<ColorScale> scale;
  std::string scaleTitle;
  double least = 0;  ///< of all values
  double most = 0;
  std::size_t below = 0;
  std::size_t above = 0;
  std::function<std::string(double)> valueText;
  /// Fills and what they mean.
  std::vector<std::pair<std::string, std::string>> entries;
  /// Lists side by side.
  std::vector<std::vector<std::string>> notes;
  /// What is beyond the scale is a dot of kAboveColor or kBelowColor.
  bool hasDots = false;

  double Height() const;
  /// The upper left corner.
  std::string Draw(double x, double y) const;

private:
  std::string DrawScale(double x, double y) const;
};
}  // namespace brio::tools
