#include "tools/shared/UntoldComplaints.h"

#include <algorithm>
#include <cctype>

#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

bool IsDigit(char character) { return std::isdigit(static_cast<unsigned char>(character)) != 0; }

/// With "#" for each number.
std::string WithoutNumbers(const std::string& text) {
  std::string shape;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!IsDigit(text[i])) {
      shape += text[i];
      continue;
    }
    shape += '#';
    const auto skip = [&] {
      while (i + 1 < text.size() && IsDigit(text[i + 1])) {
        ++i;
      }
    };
    skip();
    if (i + 2 < text.size() && text[i + 1] == '.' && IsDigit(text[i + 2])) {
      ++i;
      skip();
    }
  }
  return shape;
}

}  // namespace

void UntoldComplaints::Add(const std::string& line, const std::string& text) {
  const std::string plain = OneLine(text);
  if (!known_.insert(plain).second) { return; }
  const auto [kind, isNew] = kindOf_.emplace(WithoutNumbers(plain), kinds_.size());
  if (isNew) { kinds_.emplace_back(); }
  kinds_[kind->second].push_back({line, plain});
}

void UntoldComplaints::Told(const std::string& line) {
  for (auto& kind : kinds_) {
    kind.erase(std::remove_if(kind.begin(), kind.end(),
                              [&](const Complaint& complaint) {
                                return !complaint.text.empty() &&
                                       line.find(complaint.text) != std::string::npos;
                              }),
               kind.end());
  }
}

std::vector<std::string> UntoldComplaints::Take() {
  std::vector<std::string> lines;
  for (const auto& kind : kinds_) {
    if (kind.empty()) { continue; }
    if (kind.size() == 1) {
      lines.push_back(kind.front().line);
    } else {
      lines.push_back(
          "runhistory: " + std::to_string(kind.size()) +
          " messages that differ in their numbers (--verbose shows all), the first: " + kind.front().text);
    }
  }
  kinds_.clear();
  kindOf_.clear();
  return lines;
}

}  // namespace brio::tools
