#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace brio::tools {

/// Complaints that nobody has been told of yet. The same text counts once, however often it comes.
class UntoldComplaints {
public:
  /// \param line  as it is to be shown
  void Add(const std::string& line, const std::string& text);
  /// Somebody was told this: the complaints that it repeats need not be told any more, now or later.
  void Told(const std::string& line);
  /// What there is to tell, in the order in which it came; of complaints that differ in numbers only the
  /// first, with their count. None are left.
  std::vector<std::string> Take();

private:
  struct Complaint {
    std::string line;
    std::string text;
  };
  /// Complaints that differ in numbers only.
  using Kind = std::vector<Complaint>;

  std::vector<Kind> kinds_;
  std::map<std::string, std::size_t> kindOf_;  ///< by their text without numbers
  std::set<std::string> known_;
};

}  // namespace brio::tools
