#pragma once

#include <chrono>

#include "base/Export.h"
#include "framework/Operation.h"

namespace orvel {

/// A thing with a thread of its own and a life cycle that its owner drives: launch, start and pause
/// as often as needed, stop, join, destroy.
class ORVEL_EXPORT Runnable {
 public:
  using Deadline = std::chrono::steady_clock::time_point;

  Runnable() = default;
  Runnable(const Runnable&) = delete;
  Runnable& operator=(const Runnable&) = delete;

  virtual void join() = 0;    ///< waits for the thread to end
  virtual void start() = 0;   ///< lets a paused server run
  virtual void stop() = 0;    ///< stops for good and drops the queue; does not wait
  virtual void pause() = 0;   ///< stops taking blocks; a block in hand is finished
  virtual void launch() = 0;  ///< creates the thread, parked
  /// Called while running, when the server is about to send a LAST block on.
  virtual void signalCompletion(const Operation& /*operation*/) {}
  virtual ~Runnable() = default;
  virtual void runLoop() = 0;  ///< the body of the thread
  /// Waits for the thread to end, at most until `deadline`; false when it is still busy then.
  virtual bool hasEndedBy(Deadline /*deadline*/) { return true; }
};

/// Thread entry: runs the loop of the Runnable that `runnable` points to; returns null.
void* runner(void* runnable);

}  // namespace orvel
