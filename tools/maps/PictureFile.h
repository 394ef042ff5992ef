#pragma once

#include <string>

namespace brio::tools {

/// How many pixels a point of a picture has in a PNG: for a projector or a printer.
constexpr int kRenderedZoom = 2;

/// Makes a PNG or a PDF of an SVG document, with the program rsvg-convert.
/// \param form  "png" or "pdf"
/// \throws std::runtime_error with the reason, also when the program is not there
std::string Rendered(const std::string& svg, const std::string& form);

/// What to say when the program is not there, before the work is begun; empty when it is.
std::string WhyNotRendered(const std::string& form);

}  // namespace brio::tools
