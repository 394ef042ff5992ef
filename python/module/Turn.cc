#include "python/module/Turn.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <vector>

#include <pybind11/pybind11.h>

#include "RunHistory/Pause.h"
#include "database/ConnectionString.h"
#include "database/Wait.h"
#include "framework/exception.h"
#include "python/module/Failure.h"
#include "python/module/Messages.h"
#include "python/module/Text.h"

namespace brio::python {
namespace {

namespace py = pybind11;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenLooks{100};
constexpr const char* kDatabaseCategory = "BrioDatabase";

/// Ends work that is given up. No std::exception, so that nothing on the way takes it for a failure.
struct GivenUp {};

// Never deleted: threads may wait for it while the process exits.
std::timed_mutex* turn = new std::timed_mutex;
std::atomic<bool> isEnding{false};

/// Work under way on a thread.
struct Work {
  explicit Work(const std::string& level) : messages(level) {}

  CollectedMessages messages;
  /// What a signal's handler raised.
  std::unique_ptr<py::error_already_set> raised;
  Clock::time_point nextLook = Clock::now() + kBetweenLooks;
};

thread_local Work* current = nullptr;

/// With the interpreter's lock.
void Deliver(const std::vector<Message>& messages) {
  if (messages.empty()) { return; }
  py::list list;
  for (const auto& message : messages) {
    list.append(
        py::make_tuple(static_cast<int>(message.severity), Text(message.category), Text(message.text)));
  }
  py::module_::import("brio._log").attr("deliver")(list);
}

/// With the interpreter's lock: hands messages on and handles signals. What that raises is returned.
std::unique_ptr<py::error_already_set> LookAround(const std::vector<Message>& messages) {
  try {
    Deliver(messages);
    if (PyErr_CheckSignals() != 0) { throw py::error_already_set(); }
  } catch (py::error_already_set& error) { return std::make_unique<py::error_already_set>(error); }
  return nullptr;
}

/// What a thread does while it waits for a database.
void WhileWaiting() {
  if (current == nullptr) { return; }
  if (current->raised || isEnding) { throw GivenUp(); }
  if (Clock::now() < current->nextLook) { return; }
  {
    const py::gil_scoped_acquire interpreter;
    current->raised = LookAround(current->messages.Take());
  }
  current->nextLook = Clock::now() + kBetweenLooks;
  if (current->raised) { throw GivenUp(); }
}

/// Waits for the turn, without the interpreter's lock. \return what a signal's handler raised meanwhile
std::unique_ptr<py::error_already_set> Await(std::unique_lock<std::timed_mutex>& lock) {
  while (!lock.try_lock_for(kBetweenLooks)) {
    if (isEnding) { return nullptr; }
    const py::gil_scoped_acquire interpreter;
    if (auto raised = LookAround({})) { return raised; }
  }
  return nullptr;
}

Failure AsFailure(const cet::exception& error) {
  std::string text = error.message();
  text.erase(text.find_last_not_of(" \n") + 1);
  const bool isDatabases = error.category() == kDatabaseCategory;
  const bool isIncomplete = error.category() == "RunHistory::Incomplete";
  const auto kind = isDatabases    ? Failure::Kind::Database
                    : isIncomplete ? Failure::Kind::Incomplete
                                   : Failure::Kind::Error;
  return {kind, text, error.category()};
}

/// Does the work. \return how it failed, if it did
std::optional<Failure> Do(const std::function<void()>& work) {
  try {
    work();
  } catch (const Failure& failure) { return failure; } catch (const cet::exception& error) {
    return AsFailure(error);
  } catch (const std::bad_alloc&) { throw; } catch (const std::invalid_argument&) {
    throw;
  } catch (const std::exception& error) {
    return Failure(Failure::Kind::Error, error.what());
  } catch (const GivenUp&) { return Failure(Failure::Kind::Error, "given up, since the interpreter ends"); }
  return std::nullopt;
}

std::vector<std::string> LogOf(const std::vector<Message>& complaints) {
  std::vector<std::string> lines;
  lines.reserve(complaints.size());
  for (const auto& complaint : complaints) {
    lines.push_back(complaint.category + ": " + complaint.text);
  }
  return lines;
}

}  // namespace

std::string FirstComplaint() {
  for (const auto& complaint : current->messages.Complaints()) {
    if (complaint.category == kDatabaseCategory) { return complaint.text; }
  }
  return {};
}

void InTurn(const Circumstances& circumstances, const std::function<void()>& work) {
  if (current != nullptr) {
    throw Failure(Failure::Kind::Error, "a load is under way on this thread, and asks for no other");
  }
  std::optional<Failure> failure;
  std::unique_ptr<py::error_already_set> raised;
  std::vector<Message> left;
  {
    const py::gil_scoped_release others;
    std::unique_lock<std::timed_mutex> lock(*turn, std::defer_lock);
    raised = Await(lock);
    if (!raised && !lock.owns_lock()) {
      failure.emplace(Failure::Kind::Error, "the interpreter ends");
    } else if (!raised) {
      std::optional<dbi::ScopedDatabase> database;
      if (circumstances.source) { database.emplace(*circumstances.source); }
      Work here(circumstances.level);
      struct Current {
        explicit Current(Work* work) { current = work; }
        ~Current() { current = nullptr; }
      } const mark(&here);
      failure = Do(work);
      if (failure) { failure->SetLog(LogOf(here.messages.Complaints())); }
      left = here.messages.Take();
      raised = std::move(here.raised);
    }
  }
  if (raised) { throw py::error_already_set(*raised); }
  Deliver(left);
  if (failure) { throw Failure(*failure); }
}

void GiveWay() { WhileWaiting(); }

void BeginTurns() {
  dbi::SetWaitObserver(WhileWaiting);
  dbi::SetPause([](unsigned int seconds) { dbi::Pause(std::chrono::seconds(seconds)); });
}

void EndTurns() {
  isEnding = true;
  const py::gil_scoped_release others;
  const std::lock_guard<std::timed_mutex> lock(*turn);
}

void ForgetTurns() { turn = new std::timed_mutex; }

}  // namespace brio::python
