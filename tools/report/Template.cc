#include "tools/report/Template.h"

#include <stdexcept>
#include <vector>

#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

/// Objects from the outermost to the innermost, in which a name is looked for from the inside.
using Scopes = std::vector<const Json*>;

const Json* Member(const Scopes& scopes, const std::string& name) {
  if (name == ".") { return scopes.back(); }
  for (auto scope = scopes.rbegin(); scope != scopes.rend(); ++scope) {
    if (!(*scope)->is_object()) { continue; }
    const auto found = (*scope)->find(name);
    if (found != (*scope)->end()) { return &*found; }
  }
  return nullptr;
}

bool IsNothing(const Json* value) {
  if (value == nullptr || value->is_null() || value->empty()) { return true; }
  if (value->is_boolean()) { return !value->get<bool>(); }
  return value->is_string() && value->get_ref<const std::string&>().empty();
}

std::string TextOf(const Json& value) {
  return value.is_string() ? value.get<std::string>() : JsonText(value, -1);
}

/// A tag between double or triple braces.
struct Tag {
  char kind = ' ';  ///< # ^ / ! { or a blank for a plain name
  std::string name;
  std::size_t begin = 0;
  std::size_t end = 0;
};

class Filling {
public:
  explicit Filling(const std::string& page) : page_(page) {}

  /// Up to the end of the section of that name; of the page for an empty one.
  void Fill(const Scopes& scopes, const std::string& section, bool isShown) {
    while (true) {
      const auto begin = page_.find("{{", at_);
      if (begin == std::string::npos) {
        if (!section.empty()) { throw std::logic_error("section " + section + " has no end"); }
        Copy(page_.size(), isShown);
        return;
      }
      const Tag tag = TagAt(begin);
      Copy(tag.begin, isShown);
      at_ = tag.end;
      if (tag.kind == '/') {
        if (tag.name != section) { throw std::logic_error("section " + tag.name + " has no beginning"); }
        return;
      }
      if (tag.kind == '#' || tag.kind == '^') {
        FillSection(scopes, tag, isShown);
      } else if (tag.kind != '!' && isShown) {
        const Json* value = Member(scopes, tag.name);
        if (value == nullptr) { throw std::logic_error("there is no " + tag.name); }
        filled += tag.kind == '{' ? TextOf(*value) : HtmlEscaped(TextOf(*value));
      }
    }
  }

  std::string filled;

private:
  void Copy(std::size_t end, bool isShown) {
    if (isShown) { filled.append(page_, at_, end - at_); }
    at_ = end;
  }

  Tag TagAt(std::size_t begin) const {
    const bool isRaw = page_.compare(begin, 3, "{{{") == 0;
    const std::string closing = isRaw ? "}}}" : "}}";
    const auto close = page_.find(closing, begin);
    if (close == std::string::npos) { throw std::logic_error("a tag has no end"); }
    Tag tag;
    tag.begin = begin;
    tag.end = close + closing.size();
    tag.name = page_.substr(begin + closing.size(), close - begin - closing.size());
    tag.kind = isRaw ? '{' : ' ';
    if (!isRaw && !tag.name.empty() && std::string("#^/!").find(tag.name.front()) != std::string::npos) {
      tag.kind = tag.name.front();
      tag.name.erase(0, 1);
      TakeLine(tag);
    }
    return tag;
  }

  /// A tag alone on its line takes the line.
  void TakeLine(Tag& tag) const {
    auto begin = tag.begin;
    while (begin > at_ && page_[begin - 1] == ' ') {
      --begin;
    }
    const bool isFirst = begin == 0 || page_[begin - 1] == '\n';
    if (!isFirst || tag.end >= page_.size() || page_[tag.end] != '\n') { return; }
    tag.begin = begin;
    ++tag.end;
  }

  void FillSection(const Scopes& scopes, const Tag& tag, bool isShown) {
    const Json* value = isShown ? Member(scopes, tag.name) : nullptr;
    const auto start = at_;
    if (tag.kind == '^') {
      Fill(scopes, tag.name, isShown && IsNothing(value));
    } else if (IsNothing(value)) {
      Fill(scopes, tag.name, false);
    } else if (value->is_array()) {
      for (const auto& element : *value) {
        at_ = start;
        FillWith(scopes, element, tag.name);
      }
    } else {
      FillWith(scopes, *value, tag.name);
    }
  }

  void FillWith(Scopes scopes, const Json& value, const std::string& name) {
    scopes.push_back(&value);
    Fill(scopes, name, true);
  }

  const std::string& page_;
  std::size_t at_ = 0;
};

}  // namespace

std::string HtmlEscaped(const std::string& text) {
  std::string escaped;
  for (const char character : Visible(text)) {
    switch (character) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      case '\'': escaped += "&#39;"; break;
      default: escaped += character;
    }
  }
  return escaped;
}

std::string Filled(const std::string& page, const Json& members) {
  Filling filling(page);
  filling.Fill({&members}, "", true);
  return std::move(filling.filled);
}

}  // namespace brio::tools
