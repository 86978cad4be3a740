#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace orvel::service {

/// A thread that carries out jobs in their order, so that the main loop waits for no device or
/// disk.
class WorkThread {
 public:
  using Job = std::function<void()>;

  /// @param niceness  the thread's, as of nice(1)
  explicit WorkThread(int niceness = 0);
  /// Ends with the job in hand and drops the others.
  ~WorkThread();
  WorkThread(const WorkThread&) = delete;
  WorkThread& operator=(const WorkThread&) = delete;

  /// Queues a job, which must not throw. Any thread.
  void post(Job job);

 private:
  void run(const std::stop_token& stop, int niceness);

  std::mutex mutex;
  std::condition_variable_any changed;
  std::deque<Job> jobs;
  std::jthread thread;  ///< last: it uses the rest
};

}  // namespace orvel::service
