#pragma once

#include <chrono>
#include <thread>

namespace orvel::test {

/// Waits until `condition` holds; false when it does not in time.
template <class Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace orvel::test
