// Column::Get of every type that is used, and the numbers of hand-written SQL's results.
#include <iostream>
#include <sstream>

#include "RunHistory/NumberText.h"
#include "database/Column.h"
#include "tests/fuzz/Fuzz.h"

namespace {

template <class T>
void Convert(const std::string& text) {
  const brio::dbi::Column column(text.c_str());
  T value{};
  const T before = value;
  if (!column.Get(value)) { brio::fuzz::Require(value == before, "a refused text changes nothing"); }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::ostringstream quiet;
  static std::streambuf* const loud = std::cerr.rdbuf(quiet.rdbuf());
  (void)loud;
  quiet.str({});
  const std::string text = brio::fuzz::Text(data, size);
  Convert<int>(text);
  Convert<short>(text);
  Convert<long long>(text);
  Convert<float>(text);
  std::string copied;
  brio::fuzz::Require(brio::dbi::Column(text.c_str()).Get(copied), "every text is a text");
  brio::fuzz::Require(copied == text.c_str(), "a text is copied as it is");
  (void)brio::dbi::IntegerIn(text);
  (void)brio::dbi::NumberIn(text.c_str());
  return 0;
}
