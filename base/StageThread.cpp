#include "base/StageThread.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include "base/WorkPriority.h"

namespace orvel::stageThread {

namespace {
thread_local std::stop_token currentToken;
thread_local bool isStage = false;
}  // namespace

void enter(std::stop_token token) noexcept {
  currentToken = std::move(token);
  isStage = true;
  adoptWorkPriority();
}

void lendToken(std::stop_token token) noexcept {
  currentToken = std::move(token);
}

bool isCurrent() noexcept {
  return isStage;
}

const std::stop_token& stopToken() noexcept {
  return currentToken;
}

bool sleep(std::chrono::milliseconds time) {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  const auto stopped = [] { return currentToken.stop_requested(); };
  return !never.wait_for(lock, currentToken, time, stopped);
}

}  // namespace orvel::stageThread
