#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace orvel::service {

/// A thread that carries out jobs, so that the main loop waits for no device or disk. Jobs of one
/// method keep their order.
class WorkThread {
 public:
  using Job = std::function<void()>;

  /// @param niceness  the thread's, as of nice(1)
  /// @param onRest    runs on the thread once there has been no job for kRestDelay; must not throw
  explicit WorkThread(int niceness = 0, Job onRest = {});
  /// Ends with the job in hand and drops the others.
  ~WorkThread();
  WorkThread(const WorkThread&) = delete;
  WorkThread& operator=(const WorkThread&) = delete;

  /// Queues a job, which must not throw. Any thread.
  void post(Job job);
  /// Queues a job that gives way to all jobs of `post`.
  void postLast(Job job);

  static constexpr std::chrono::seconds kRestDelay{2};

 private:
  using Jobs = std::deque<Job>;

  void append(Jobs& queue, Job job);
  /// The jobs whose first one is next; empty when there is none. With `mutex` held.
  Jobs& nextJobs() { return jobs.empty() ? lastJobs : jobs; }
  void run(const std::stop_token& stop);
  /// Waits for a job; false when the thread is to end.
  bool waitForJob(std::unique_lock<std::mutex>& lock, const std::stop_token& stop);

  const Job onRest;
  std::mutex mutex;
  std::condition_variable_any changed;
  Jobs jobs;
  Jobs lastJobs;
  std::jthread thread;  ///< last: it uses the rest
};

}  // namespace orvel::service
