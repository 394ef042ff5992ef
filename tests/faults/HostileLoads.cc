#include "tests/faults/HostileLoads.h"

#include <chrono>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "framework/MessageLogger.h"
#include "tests/faults/Descriptors.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

using dbi::RunHistory;

namespace {

constexpr int kUsualConnectTimeout = 60;
/// For trials in which nothing waits: for a test that hangs, no machine is as slow as that.
constexpr int kUsualQueryTimeout = 60;

std::string StepOf(const std::string& statement) {
  if (statement.empty()) { return "connecting"; }
  // In this order: some statements also name the table of another.
  for (const char* table :
       {"daqresourcesbyrun", "potbyrun", "gooddiblocksvsrun", "dqsubruninfo", "\"runs\"",
        "AT TIME ZONE 'CDT'", "hardware_position", "enable_masks", "thresholds", "apd_settings",
        "apd_pixel_m", "apd_stats", "feb_test_summary", "feb_comm_cables"}) {
    if (statement.find(table) == std::string::npos) { continue; }
    if (table == std::string("AT TIME ZONE 'CDT'")) { return "modules"; }
    return table == std::string("\"runs\"") ? "runs" : table;
  }
  return statement.substr(0, statement.find_first_of(" ;"));
}

std::string TypeInWords(const PassedMessage& message) {
  static const std::vector<std::pair<char, const char*>> kFromServer{
      {'R', "Authentication"}, {'S', "ParameterStatus"}, {'K', "BackendKeyData"},
      {'Z', "ReadyForQuery"},  {'1', "ParseComplete"},   {'2', "BindComplete"},
      {'T', "RowDescription"}, {'D', "DataRow"},         {'C', "CommandComplete"}};
  static const std::vector<std::pair<char, const char*>> kFromClient{
      {'\0', "the client's start-up"}, {'Q', "the client's Query"},    {'P', "the client's Parse"},
      {'B', "the client's Bind"},      {'D', "the client's Describe"}, {'E', "the client's Execute"},
      {'S', "the client's Sync"},      {'X', "the client's Terminate"}};
  for (const auto& [type, name] : message.direction == Direction::FromServer ? kFromServer : kFromClient) {
    if (type == message.type) { return name; }
  }
  return std::string("message ") + message.type;
}

bool IsSame(const Place& place, const PassedMessage& message) {
  return place.message.direction == message.direction && place.message.type == message.type &&
         place.message.statement == message.statement;
}

bool IsRow(const PassedMessage& message) {
  return message.direction == Direction::FromServer && message.type == 'D';
}

/// Far more than a load without attacks writes, far fewer than a flood has messages.
constexpr long kManyLines = 2000;

/// Counts the messages of the logger, at info severity and above, while it lives.
class CountedMessages {
public:
  CountedMessages() {
    messagelogger::SetLevels("info");
    messagelogger::SetSink([this](Severity severity, const std::string& category, const std::string&) {
      ++lines_;
      hasError_ = hasError_ || (severity == Severity::Error && category == "BrioDatabase");
    });
  }
  ~CountedMessages() {
    messagelogger::SetSink({});
    messagelogger::SetLevels("");
  }
  CountedMessages(const CountedMessages&) = delete;
  CountedMessages& operator=(const CountedMessages&) = delete;

  long Lines() const { return lines_; }
  bool HasError() const { return hasError_; }

private:
  long lines_ = 0;
  bool hasError_ = false;
};

}  // namespace

std::string Place::InWords() const { return step + ", " + (isFirst ? "" : "last ") + TypeInWords(message); }

struct HostileLoads::Ending {
  std::string outcome;
  bool isComplete = false;
  bool isLogged = false;
  long lines = 0;
  int attacked = 0;
  int endured = 0;
  std::chrono::duration<double> took{};
};

HostileLoads::HostileLoads(std::unique_ptr<HostileQuestions> questions, std::string database)
    : questions_(std::move(questions)), database_(std::move(database)), proxy_(server::SocketFolder()) {
  FindPlaces();
}

std::string HostileLoads::ConnectionString(int connectTimeout) const {
  return "host=" + proxy_.SocketFolder() + " dbname=" + database_ +
         " user=brio_reader connect_timeout=" + std::to_string(connectTimeout);
}

void HostileLoads::FindPlaces() {
  const EnvironmentVariable database("BRIO_DATABASE", ConnectionString(kUsualConnectTimeout));
  proxy_.End();
  questions_->Remember();
  std::map<Direction, std::size_t> known;  // how many messages of a connection
  for (const auto& message : proxy_.Passed()) {
    if (message.number < known[message.direction]) { continue; }  // of a later connection
    known[message.direction] = message.number + 1;
    const Place place{message, StepOf(message.statement),
                      places_.empty() || !IsSame(places_.back(), message)};
    if (!places_.empty() && !places_.back().isFirst && !place.isFirst) { places_.pop_back(); }
    if (place.isFirst || IsRow(message)) { places_.push_back(place); }
  }
}

void HostileLoads::Try(const Trial& trial, const Place& place) {
  SCOPED_TRACE(trial.name + " at " + place.InWords() + " (" + questions_->Name() + ")");
  Trial here = trial;
  here.attack.direction = place.message.direction;
  here.attack.number = place.message.number;
  here.attack.type = place.message.type;
  const auto descriptors = OpenDescriptors();
  dbi::gLocToFA = questions_->Map();
  RunHistory run = questions_->Fresh();
  const Ending ending = Attacked(run, here);
  std::cout << "  " << std::left << std::setw(44) << place.InWords() << std::setw(36) << trial.name
            << std::setw(37) << ending.outcome << std::setw(15)
            << (ending.isComplete ? "nothing lost" : "something lost") << std::right << std::fixed
            << std::setprecision(1) << ending.took.count() << " s\n";

  EXPECT_EQ(ending.endured, 0) << "the load did not give up";
  Check(run, here, ending);
  EXPECT_EQ(server::LastingConnections(database_), 0);
  EXPECT_TRUE(FallsToDescriptors(descriptors)) << "descriptors left open";
  CheckRecovery(run, here, ending);
}

HostileLoads::Ending HostileLoads::Attacked(RunHistory& run, const Trial& trial) {
  Ending ending;
  // A machine may be too slow for the short limits to come to the place at all.
  for (int limit = 1; limit <= 64 && ending.attacked == 0; limit *= 4) {
    const EnvironmentVariable database("BRIO_DATABASE",
                                       ConnectionString(trial.waits ? 2 * limit : kUsualConnectTimeout));
    const EnvironmentVariable silence("BRIO_QUERY_TIMEOUT",
                                      std::to_string(trial.waits ? limit : kUsualQueryTimeout));
    const EnvironmentVariable whole("BRIO_LOAD_TIMEOUT",
                                    std::to_string(2 * (trial.waits ? limit : kUsualQueryTimeout)));
    proxy_.Begin(trial.attack);
    run = questions_->Fresh();
    const CapturedOutput output;
    const CountedMessages messages;
    const auto begin = std::chrono::steady_clock::now();
    ending.outcome = questions_->Ask(run);
    ending.took = std::chrono::steady_clock::now() - begin;
    ending.attacked = proxy_.Attacked();
    ending.endured = proxy_.Endured();
    ending.isLogged = messages.HasError();
    ending.lines = messages.Lines();
  }
  ending.isComplete = questions_->IsComplete(run);
  proxy_.End();
  return ending;
}

void HostileLoads::Check(const RunHistory& run, const Trial& trial, const Ending& ending) const {
  EXPECT_GT(ending.attacked, 0) << "the load never came to the place";
  EXPECT_LT(ending.lines, kManyLines) << "the log is flooded";
  if (trial.then == Then::Whatever) { return; }
  EXPECT_EQ(questions_->Wrong(run, ending.outcome), "");
  EXPECT_TRUE(ending.isComplete || ending.isLogged) << "something is lost and the log does not say so";
  if (trial.then == Then::NothingLost) {
    EXPECT_EQ(ending.outcome, "true");
    EXPECT_TRUE(ending.isComplete);
  }
  if (trial.then == Then::SomethingLost) { EXPECT_FALSE(ending.isComplete) << "the attack did nothing"; }
}

/// What counts as loaded although something is missing, or although it is wrong, is asked for once more.
void HostileLoads::CheckRecovery(RunHistory& run, const Trial& trial, const Ending& ending) const {
  const EnvironmentVariable database("BRIO_DATABASE", ConnectionString(kUsualConnectTimeout));
  const bool reload = trial.then == Then::Whatever || (!ending.isComplete && ending.outcome != "false" &&
                                                       ending.outcome.rfind("throws", 0) != 0);
  const CapturedOutput output;
  const CapturedMessages messages("error");
  if (reload) { run.InvalidateCaches(); }
  EXPECT_EQ(questions_->Ask(run), "true") << "once the attack is over";
  EXPECT_TRUE(questions_->IsComplete(run, !reload)) << "once the attack is over";
}

std::vector<Place> PlacesFrom(const std::vector<Place>& places, Direction direction) {
  std::vector<Place> from;
  for (const auto& place : places) {
    if (place.message.direction == direction) { from.push_back(place); }
  }
  return from;
}

std::vector<Place> FewOf(const std::vector<Place>& places) {
  std::set<char> types;
  std::set<std::string> steps;
  std::vector<Place> few;
  const auto take = [&](int wanted) {
    for (const auto& place : places) {
      const int gained =
          (types.count(place.message.type) == 0 ? 1 : 0) + (steps.count(place.step) == 0 ? 1 : 0);
      if (gained != wanted) { continue; }
      types.insert(place.message.type);
      steps.insert(place.step);
      few.push_back(place);
    }
  };
  take(2);
  take(1);
  return few;
}

}  // namespace brio::test
