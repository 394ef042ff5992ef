#pragma once

#include <string>
#include <vector>

#include "database/Session.h"

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

}  // namespace brio::dbi::snapshot
