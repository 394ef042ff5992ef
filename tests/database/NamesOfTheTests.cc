#include "tests/database/NamesOfTheTests.h"

#include <dlfcn.h>
#include <netdb.h>

#include <cstring>

// Stands before the C library's function for everything in this process.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** result) {
  using namespace brio::test;
  static const auto lookUp = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  if (name != nullptr && std::strcmp(name, kNoAddress) == 0) { return EAI_NONAME; }
  if (name == nullptr || std::strcmp(name, kTwoAddresses) != 0) {
    return lookUp(name, service, hints, result);
  }
  const int error = lookUp("127.0.0.2", service, hints, result);
  return error != 0 ? error : lookUp("127.0.0.3", service, hints, &(*result)->ai_next);
}
