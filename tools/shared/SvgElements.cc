#include "tools/shared/SvgElements.h"

#include "tools/shared/Format.h"

namespace brio::tools::svg {

std::string Number(double value) {
  std::string text = Fixed(value, 2);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') { text.pop_back(); }
  return text;
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      default: escaped += character;
    }
  }
  return escaped;
}

std::string Text(double x, double y, double size, const char* anchor, const std::string& text) {
  return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" font-size=\"" + Number(size) +
         "\" text-anchor=\"" + anchor + "\">" + Escaped(text) + "</text>\n";
}

std::string Rectangle(double x, double y, double width, double height, const std::string& attributes,
                      const std::string& inside) {
  std::string element = "<rect x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" width=\"" + Number(width) +
                        "\" height=\"" + Number(height) + "\" " + attributes;
  return element + (inside.empty() ? "/>\n" : ">" + inside + "</rect>\n");
}

}  // namespace brio::tools::svg
