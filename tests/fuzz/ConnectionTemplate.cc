// A connection-string template and a detector name. No name brings anything but name characters into the
// connection string.
#include <cstdlib>
#include <iostream>

#include "database/ConnectionString.h"
#include "framework/MessageLogger.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brio::dbi;
  const std::string text = brio::fuzz::Text(data, size);
  const auto split = text.find('\0');
  const std::string pattern = text.substr(0, split);
  const std::string detector = split == std::string::npos ? "Birch" : text.substr(split + 1);
  brio::messagelogger::SetSink([](brio::Severity, const std::string&, const std::string&) {});
  setenv(kDatabaseVariable, "host=/x {detector} {database}", 1);
  const auto expanded = ExpandConnectionString(detector, DatabaseKind::SlowControl);
  if (expanded) {
    const std::string front = "host=/x ";
    const std::string back = " slowcontrol";
    brio::fuzz::Require(expanded->size() == front.size() + detector.size() + back.size(), "one detector");
    for (std::size_t i = 0; i < detector.size(); ++i) {
      const auto character = static_cast<unsigned char>((*expanded)[front.size() + i]);
      brio::fuzz::Require(std::isalnum(character) != 0 || character == '_' || character == '-', "a name");
    }
  }
  const std::string other = ExpandTemplate(pattern, "Birch", DatabaseKind::Runs);
  brio::fuzz::Require(other.find("{detector}") == std::string::npos || pattern.size() > 10, "replaced");
  brio::fuzz::Require(other.size() <= pattern.size(), "both names are shorter than their place holders");
  return 0;
}
