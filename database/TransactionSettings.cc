#include "database/TransactionSettings.h"

#include "database/SchemaPath.h"

namespace brio::dbi {

std::string BeginStatement(std::chrono::seconds limit) {
  // The path comes first: what follows is found by it.
  std::string begin = "BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY;SET LOCAL search_path TO " +
                      SchemaPath() +
                      ";SET LOCAL standard_conforming_strings TO on"
                      ";SET LOCAL transform_null_equals TO off"
                      ";SET LOCAL extra_float_digits TO 3"
                      ";SET LOCAL bytea_output TO hex"
                      ";SET LOCAL IntervalStyle TO postgres"
                      ";SET LOCAL DateStyle TO ISO, MDY"
                      ";SET LOCAL TimeZone TO 'UTC'"
                      // A database without an encoding gives its bytes as they are; asked for UTF-8 it would
                      // refuse those that are none.
                      ";SELECT set_config('client_encoding', CASE current_setting('server_encoding') "
                      "WHEN 'SQL_ASCII' THEN 'SQL_ASCII' ELSE 'UTF8' END, true)"
                      // Setting it reads a file of the server, so only where it differs.
                      ", CASE WHEN current_setting('timezone_abbreviations') <> 'Default' "
                      "THEN set_config('timezone_abbreviations', 'Default', true) END";
  if (limit != std::chrono::seconds::max()) {
    begin +=
        ", set_config('statement_timeout', least(nullif(1000 * extract(epoch FROM "
        "current_setting('statement_timeout')::interval), 0), " +
        std::to_string(1000 * limit.count()) + ")::bigint::text, true)";
  }
  return begin;
}

}  // namespace brio::dbi
