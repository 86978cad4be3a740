#pragma once

#include <orvel/Export.h>
#include <orvel/Runnable.h>

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

namespace orvel {

/// Stack of an ordinary stage thread: ten threads of a waiting pipeline fit a 32-bit address space.
constexpr std::size_t kStageStackBytes = std::size_t{1} << 20;
/// Stack of a stage that parses files of strangers: nested containers recurse deeply.
constexpr std::size_t kMiningStackBytes = std::size_t{8} << 20;

/// The parts of a server that do not depend on its blocks: name, state, thread and cancellation.
class ORVEL_EXPORT ServerThread : public Runnable {
 public:
  enum State : int { RUNNING = 0, STOPPING = 1, PAUSED = 2 };

  void join() override;
  void pause() override;
  void launch() override;
  bool hasEndedBy(Deadline deadline) override;

 protected:
  /// @param serverName  a string literal; every log line of the server starts with it
  ServerThread(const char* serverName, std::size_t threadStackBytes);
  /// The owner has joined the thread.
  ~ServerThread() override;

  /// True from a `launch` that succeeded to the `join`. For the owner's thread.
  [[nodiscard]] bool launched() const;
  /// True once the server was stopped.
  [[nodiscard]] bool stopping() const { return state == STOPPING; }
  [[nodiscard]] bool running() const { return state == RUNNING; }

  /// Sets RUNNING unless the server was stopped meanwhile. Never overwrites STOPPING.
  void resumeUnlessStopping();

  std::atomic<int> state{PAUSED};
  const char* const name;
  /// Raised by `stop`, which holds no lock of the server then: ends every wait of its thread.
  std::stop_source cancellation;

 private:
  struct Thread;

  static void* run(void* server);

  std::unique_ptr<Thread> thread;
};

/// A thread with a bounded queue of blocks: one consumer, its own thread, and any number of
/// producers.
///
/// `enqueue` may be called from any thread and waits while the queue is full. The owner makes the
/// life-cycle calls, and stops and joins the thread before it destroys the server.
template <class T>
class BaseServer : public ServerThread {
 public:
  using block_type_ptr = boost::shared_ptr<T>;

  explicit BaseServer(const char* serverName, std::size_t threadStackBytes = kStageStackBytes);
  ~BaseServer() override;

  void start() override;
  void stop() override;

  /// Appends `block`, waiting for room; a stopping server drops it. Throws std::bad_alloc, with the
  /// block dropped, when memory stays too short for it.
  void enqueue(block_type_ptr block);

  /// Has the server's thread run `errand`, which must not throw, while it waits for a block. An
  /// errand that is not under way when a block comes is forgotten. Any thread.
  void runMeanwhile(const std::function<void()>& errand);

 protected:
  /// Takes the next block, waiting for one. Empty when the server was stopped; `holdsMutex` then
  /// tells whether the queue's mutex is still held, which the run loop releases as its last act.
  block_type_ptr pop(bool& holdsMutex);
  /// Releases the mutex that `pop` left held.
  void releaseQueue();

  struct Queue;
  const std::unique_ptr<Queue> blocks;

 private:
  bool append(block_type_ptr& block);
};

}  // namespace orvel
