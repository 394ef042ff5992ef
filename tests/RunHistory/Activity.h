#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <iostream>
#include <string>

#include "database/ConnectionStatistics.h"
#include "framework/exception.h"
#include "tests/support/Output.h"

namespace brio::test {

/// What a piece of code wrote to its two streams and asked of databases.
struct Activity {
  std::string output;
  std::string error;
  long attempts = 0;
  long connections = 0;
  long statements = 0;
  long transactions = 0;
};

template <class Action>
Activity ActivityOf(Action action) {
  const auto before = dbi::ConnectionStatistics::Now();
  CapturedOutput streams;
  action();
  const auto after = dbi::ConnectionStatistics::Now();
  // What a failed check inside wrote was captured too.
  if (testing::Test::HasFailure()) { std::cerr << streams.StandardOutput() << streams.StandardError(); }
  return {streams.StandardOutput(),
          streams.StandardError(),
          after.connectionAttempts - before.connectionAttempts,
          after.connectionsOpened - before.connectionsOpened,
          after.statementsSent - before.statementsSent,
          after.transactionsBegun - before.transactionsBegun};
}

/// The failure that a piece of code throws, as text: category, "|" and message of a cet::exception, what() of
/// another exception, "nothing" when it does not throw.
template <class Action>
std::string ThrownBy(Action action) {
  try {
    action();
  } catch (const cet::exception& error) {
    return error.category() + "|" + error.message();
  } catch (const std::exception& error) { return error.what(); }
  return "nothing";
}

constexpr const char* kSimulatedLine = "Looks like a MC run number - assume perfect + any mask\n";
constexpr const char* kHardwareLine = "RunHistory: Loading FEB and APD installation information\n";

}  // namespace brio::test
