#include "tools/report/Page.h"

#include <utility>

#include "tools/report/PageFiles.h"
#include "tools/report/Template.h"

namespace brio::tools {
namespace {

/// As text that ends no element and begins none.
std::string InScript(const Json& data) {
  std::string text;
  for (const char character : JsonText(data, -1)) {
    if (character == '<') {
      text += "\\u003c";
    } else {
      text += character;
    }
  }
  return text;
}

/// A template with the templates that it names on lines of their own: {{>kind.html}}.
std::string WithParts(std::string page) {
  const std::string begin = "{{>";
  const std::string end = "}}\n";
  for (auto at = page.find(begin); at != std::string::npos; at = page.find(begin)) {
    const auto close = page.find(end, at);
    const auto name = page.substr(at + begin.size(), close - at - begin.size());
    page.replace(at, close + end.size() - at, PageFile(name).text);
  }
  return page;
}

}  // namespace

std::string PageOf(const std::string& file, Json members, const Json& data) {
  const EmbeddedFile& style = PageFile("style.css");
  const EmbeddedFile& script = PageFile("script.js");
  // The icon keeps a browser from asking a web server for one.
  members["policy"] = "default-src 'none'; base-uri 'none'; form-action 'none'; img-src data:; style-src " +
                      PolicyHash(style) + "; script-src " + PolicyHash(script);
  members["style"] = style.text;
  members["script"] = script.text;
  members["data"] = InScript(data);
  return Filled(WithParts(PageFile(file).text), members);
}

}  // namespace brio::tools
