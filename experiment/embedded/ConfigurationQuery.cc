#include "experiment/embedded/ConfigurationQuery.h"

#include <cstdlib>

#include "database/Timing.h"
#include "framework/MessageLogger.h"

namespace dbutils {
namespace {

constexpr const char* kDetectorVariable = "BRIODAQ_ENVIRONMENT";

/// A text[] value in the server's input form.
std::string ArrayText(const std::vector<std::string>& elements) {
  std::string text = "{";
  for (const auto& element : elements) {
    text += text.size() == 1 ? "\"" : ",\"";
    for (const char character : element) {
      if (character == '"' || character == '\\') { text += '\\'; }
      text += character;
    }
    text += '"';
  }
  return text + "}";
}

}  // namespace

brio::dbi::ResultHandle QueryConfiguration(brio::dbi::DatabaseKind database, const char* category,
                                           const char* statement, long long configId,
                                           const std::vector<std::string>& dcmNames) {
  const char* detector = std::getenv(kDetectorVariable);
  if (detector == nullptr || *detector == '\0') {
    brio::LogError(category) << "the environment variable " << kDetectorVariable
                             << " does not name a detector";
    return nullptr;
  }
  const auto session = brio::dbi::AcquireSession(detector, database, 0);
  if (!session) { return nullptr; }
  auto rows =
      brio::dbi::TimedExecute(*session, {statement, {std::to_string(configId), ArrayText(dcmNames)}, true});
  return PQresultStatus(rows.get()) == PGRES_TUPLES_OK ? std::move(rows) : nullptr;
}

std::optional<std::string> TextAt(const PGresult* rows, int row, int column) {
  if (PQgetisnull(rows, row, column) != 0) { return std::nullopt; }
  return std::string(PQgetvalue(rows, row, column), static_cast<std::size_t>(PQgetlength(rows, row, column)));
}

}  // namespace dbutils
