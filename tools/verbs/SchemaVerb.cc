#include <iostream>
#include <memory>

#include "tools/shared/Console.h"
#include "tools/shared/SchemaFiles.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct SchemaOptions {
  bool indexes = false;
  bool hardware = false;
};

}  // namespace

Action PrepareSchema(CLI::App& command, const Options& /*options*/) {
  auto schema = std::make_shared<SchemaOptions>();
  command.add_flag("--hardware", schema->hardware,
                   "Also the hardware tables, for a site whose hardware database is not there yet");
  command.add_flag("--indexes", schema->indexes, "Also the recommended indexes of the hardware tables");
  return [schema] {
    auto& answer = console::Answer();
    answer << RunTablesSql() << SqlFile(kRunIndexes) << '\n'
           << SqlFile(kConfigurationTables) << '\n'
           << SqlFile(kSlowControlTables);
    if (schema->hardware) { answer << '\n' << SqlFile(kHardwareTables); }
    if (schema->indexes) { answer << '\n' << SqlFile(kHardwareIndexes); }
    return kAnswered;
  };
}

}  // namespace brio::tools
