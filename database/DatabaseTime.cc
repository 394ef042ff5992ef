#include "database/DatabaseTime.h"

#include "database/LoadScopeSessions.h"

namespace brio::dbi {

DatabaseTime::DatabaseTime(std::chrono::seconds limit)
    : DatabaseTime(limit, loadscope::IsActive() ? Of::Load : Of::Statement) {}

DatabaseTime::DatabaseTime(std::chrono::seconds limit, Of whose)
    : limit_(limit), whose_(whose), since_(Clock::now()) {
  const auto spent = whose == Of::Load ? loadscope::TimeSpent() : Clock::duration::zero();
  deadline_ = limit == std::chrono::seconds::max() ? Clock::time_point::max() : since_ + limit - spent;
}

DatabaseTime::~DatabaseTime() { Pause(); }

void DatabaseTime::Pause() {
  if (isPaused_) { return; }
  isPaused_ = true;
  const auto now = Clock::now();
  if (whose_ == Of::Load) { loadscope::AddTimeSpent(now - since_); }
  since_ = now;
}

void DatabaseTime::Resume() {
  if (!isPaused_) { return; }
  isPaused_ = false;
  const auto now = Clock::now();
  paused_ += now - since_;
  if (deadline_ != Clock::time_point::max()) { deadline_ += now - since_; }
  since_ = now;
}

std::string DatabaseTime::Complaint() const {
  return std::string(whose_ == Of::Load ? "the load" : "the statement") + " took longer than " +
         std::to_string(limit_.count()) + " s";
}

}  // namespace brio::dbi
