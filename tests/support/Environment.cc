#include "tests/support/Environment.h"

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace brio::test {

void ForgetLibpqVariables() {
  std::vector<std::string> names;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (text.rfind("PG", 0) == 0) { names.push_back(text.substr(0, text.find('='))); }
  }
  for (const auto& name : names) {
    unsetenv(name.c_str());
  }
}

}  // namespace brio::test
