#pragma once

#include <orvel/Export.h>

#include <chrono>

namespace orvel {

struct Operation;

/// An object with a thread of its own and a life cycle that its owner drives: launch, start and
/// pause as often as needed, stop, join, destroy.
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
  /// Called on the server's thread while it runs, just before it sends a LAST block on.
  virtual void signalCompletion(const Operation& /*operation*/) {}
  virtual ~Runnable() = default;
  virtual void runLoop() = 0;  ///< the body of the thread
  /// Waits for the thread to end, at most until `deadline`; false when it is still busy then.
  virtual bool hasEndedBy(Deadline /*deadline*/) { return true; }
};

}  // namespace orvel
