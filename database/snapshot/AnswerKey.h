#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database/Session.h"
#include "database/snapshot/ContentHash.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// What a snapshot's answers are found by. The detector's name is compared without regard to case.
struct AnswerKey {
  AnswerKey(std::string askedDetector, DatabaseKind askedKind, const Statement& asked)
      : detector(std::move(askedDetector)),
        kind(askedKind),
        statement(asked.text),
        parameters(asked.parameters),
        binary(asked.binary) {}

  std::string detector;
  DatabaseKind kind;
  std::string statement;
  std::vector<std::string> parameters;
  bool binary;
};

/// The kind's name, as {database} in a connection string becomes.
BRIO_EXPORT_PRIVATE const char* NameOf(DatabaseKind kind);

/// As SQLite's NOCASE compares: ASCII letters only, whatever the locale.
std::string LowerCase(std::string text);

/// Parameters as the bytes that a snapshot stores (docs/snapshots.md).
std::string EncodedParameters(const std::vector<std::string>& parameters);

/// What a snapshot finds the key by.
BRIO_EXPORT_PRIVATE ContentHash HashOf(const AnswerKey& key);
/// The same from what is stored of it.
ContentHash QuestionHash(const std::string& detector, std::string_view kind, std::string_view statement,
                         std::string_view parameters, bool binary);

}  // namespace brio::dbi::snapshot
