#pragma once

#include <cstddef>

namespace brio::test {

/// While it lives, libpq cannot be made to give rows one by one.
class NoSingleRows {
public:
  NoSingleRows();
  ~NoSingleRows();
  NoSingleRows(const NoSingleRows&) = delete;
  NoSingleRows& operator=(const NoSingleRows&) = delete;
};

/// Counts the results that libpq gave to this process while it lives and that were not cleared yet.
class ResultAccount {
public:
  ResultAccount();
  ~ResultAccount();
  ResultAccount(const ResultAccount&) = delete;
  ResultAccount& operator=(const ResultAccount&) = delete;

  static std::size_t Open();
  /// All that were given, cleared or not.
  static std::size_t Given();
};

}  // namespace brio::test
