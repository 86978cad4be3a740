#include "platform/common/StageThread.h"

#include <utility>

namespace orvel::stageThread {

namespace {
thread_local std::stop_token currentToken;
thread_local bool isStage = false;
}  // namespace

void enter(std::stop_token token) noexcept {
  currentToken = std::move(token);
  isStage = true;
}

bool isCurrent() noexcept {
  return isStage;
}

const std::stop_token& stopToken() noexcept {
  return currentToken;
}

}  // namespace orvel::stageThread
