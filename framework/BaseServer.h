#pragma once

#include <pthread.h>

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <deque>
#include <semaphore>
#include <stop_token>

#include "base/Export.h"
#include "base/Mutex.h"
#include "framework/Runnable.h"

namespace orvel {

/// Stack of an ordinary stage thread: ten threads of a waiting pipeline fit a 32-bit address space.
constexpr std::size_t kStageStackBytes = std::size_t{1} << 20;
/// Stack of a stage that parses files of strangers: nested containers recurse deeply.
constexpr std::size_t kMiningStackBytes = std::size_t{8} << 20;

/// What every server has, whatever its blocks are: name, state, thread and cancellation.
class ORVEL_EXPORT ServerThread : public Runnable {
 public:
  enum State : int { RUNNING = 0, STOPPING = 1, PAUSED = 2 };

  void join() override;
  void pause() override;
  void launch() override;
  bool hasEndedBy(Deadline deadline) override;

 protected:
  ServerThread(const char* serverName, std::size_t threadStackBytes);
  ~ServerThread() override;

  /// True from a `launch` that succeeded to the `join`. For the owner's thread.
  [[nodiscard]] bool launched() const { return joinable; }
  /// True once the server was stopped.
  [[nodiscard]] bool stopping() const { return state == STOPPING; }
  [[nodiscard]] bool running() const { return state == RUNNING; }

  /// Sets RUNNING unless the server was stopped meanwhile. Never overwrites STOPPING.
  void resumeUnlessStopping();

  pthread_t thread = 0;
  std::atomic<int> state{PAUSED};
  const char* const name;
  /// Raised by `stop` outside every lock: ends whatever the server's thread may be waiting in.
  std::stop_source cancellation;

 private:
  static void* run(void* server);

  const std::size_t stackBytes;
  std::binary_semaphore ended{0};
  bool joinable = false;  ///< the thread exists and was not joined; used by the owner's thread only
};

/// A thread with a bounded queue of blocks. One consumer, its own thread; any number of producers.
///
/// `enqueue` may be called from any thread and waits while the queue is full. The life-cycle calls
/// come from the owner. The owner has stopped and joined the thread before it destroys a server.
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

 protected:
  /// Takes the next block, waiting for one. Empty when the server was stopped; `holdsMutex` then
  /// tells whether `mutex` is still held, for the run loop to release as its last act.
  block_type_ptr pop(bool& holdsMutex);

  const int capacity = 100;
  int count ORVEL_GUARDED_BY(mutex) = 0;
  std::deque<block_type_ptr> queue ORVEL_GUARDED_BY(mutex);
  Mutex mutex;
  Condition cond;

 private:
  bool append(block_type_ptr& block) ORVEL_EXCLUDES(mutex);
};

}  // namespace orvel

#include "framework/BaseServer.tpp"
