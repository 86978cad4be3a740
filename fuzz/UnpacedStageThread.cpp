// The stage threads of the fuzz targets: nobody stops them, and no time passes while they sleep, so
// that the pauses between the calls of a walk do not slow the fuzzer down.

#include "base/StageThread.h"

namespace orvel::stageThread {

void enter(std::stop_token /*token*/) noexcept {}  // NOLINT(performance-unnecessary-value-param)

bool isCurrent() noexcept {
  return true;
}

const std::stop_token& stopToken() noexcept {
  static const std::stop_token never;
  return never;
}

bool sleep(std::chrono::milliseconds /*time*/) {
  return true;
}

}  // namespace orvel::stageThread
