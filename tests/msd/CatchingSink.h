#pragma once

#include <utility>
#include <vector>

#include "framework/BaseServer.h"

namespace orvel::test {

/// The end of a branch: keeps the blocks sent to it, at most 100. Has no thread.
template <class T>
class CatchingSink : public BaseServer<T> {
 public:
  CatchingSink() : BaseServer<T>("Sink") {}
  void runLoop() override {}

  /// The blocks sent since the last call.
  std::vector<boost::shared_ptr<T>> take() {
    auto& waiting = *this->blocks;
    const MutexLock lock(waiting.mutex);
    std::vector<boost::shared_ptr<T>> taken(waiting.queue.begin(), waiting.queue.end());
    waiting.queue.clear();
    waiting.count = 0;
    return taken;
  }
};

}  // namespace orvel::test
