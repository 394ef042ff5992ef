#pragma once

#include <string>

/// Elements of an SVG picture.
namespace brio::tools::svg {

/// A coordinate, to a hundredth.
std::string Number(double value);

/// With the characters that XML gives a meaning written as entities.
std::string Escaped(const std::string& text);

/// \param anchor  "start", "middle" or "end"
std::string Text(double x, double y, double size, const char* anchor, const std::string& text);

/// \param inside  elements; none for an empty text
std::string Rectangle(double x, double y, double width, double height, const std::string& attributes,
                      const std::string& inside = "");

}  // namespace brio::tools::svg
