#include "tests/RunHistory/RefusedSend.h"

#include <dlfcn.h>
#include <libpq-fe.h>

namespace brio::test {
namespace {

std::string refused;

}  // namespace

RefusedSend::RefusedSend(std::string beginning) { refused = std::move(beginning); }
RefusedSend::~RefusedSend() { refused.clear(); }

}  // namespace brio::test

// The executable's own function is found before libpq's.
extern "C" int PQsendQueryParams(PGconn* connection, const char* command, int nParams, const Oid* types,
                                 const char* const* values, const int* lengths, const int* formats,
                                 int resultFormat) {
  const std::string& refused = brio::test::refused;
  if (!refused.empty() && std::string(command).rfind(refused, 0) == 0) { return 0; }
  static const auto send =
      reinterpret_cast<decltype(&PQsendQueryParams)>(dlsym(RTLD_NEXT, "PQsendQueryParams"));
  return send(connection, command, nParams, types, values, lengths, formats, resultFormat);
}
