#include "database/snapshot/AnswerKey.h"

#include <algorithm>

#include "database/LittleEndian.h"

namespace brio::dbi::snapshot {
std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
  });
  return text;
}

const char* NameOf(DatabaseKind kind) {
  switch (kind) {
    case DatabaseKind::Runs: return "runs";
    case DatabaseKind::Hardware: return "hardware";
    case DatabaseKind::DAQConfiguration: return "daqconfig";
    case DatabaseKind::SlowControl: break;
  }
  return "slowcontrol";
}

std::string EncodedParameters(const std::vector<std::string>& parameters) {
  std::string bytes;
  for (const auto& parameter : parameters) {
    littleendian::Append(bytes, static_cast<std::uint32_t>(parameter.size()));
    bytes += parameter;
  }
  return bytes;
}

ContentHash HashOf(const AnswerKey& key) {
  return QuestionHash(key.detector, NameOf(key.kind), key.statement, EncodedParameters(key.parameters),
                      key.binary);
}

ContentHash QuestionHash(const std::string& detector, std::string_view kind, std::string_view statement,
                         std::string_view parameters, bool binary) {
  return Fingerprint()
      .Text(LowerCase(detector))
      .Text(kind)
      .Text(statement)
      .Text(parameters)
      .Number(binary ? 1 : 0)
      .Hash();
}

}  // namespace brio::dbi::snapshot
