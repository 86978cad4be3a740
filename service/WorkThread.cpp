#include "service/WorkThread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <utility>

namespace orvel::service {

WorkThread::WorkThread(int niceness, Job onRest)
    : onRest(std::move(onRest)), thread([this, niceness](const std::stop_token& stop) {
        // On Linux a thread has a niceness of its own. Where it is refused, the work goes on
        // without.
        if (niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
        run(stop);
      }) {}

WorkThread::~WorkThread() {
  thread.request_stop();
  thread.join();
}

void WorkThread::post(Job job) {
  append(jobs, std::move(job));
}

void WorkThread::postLast(Job job) {
  append(lastJobs, std::move(job));
}

void WorkThread::append(Jobs& queue, Job job) {
  {
    const std::lock_guard lock(mutex);
    queue.push_back(std::move(job));
  }
  changed.notify_one();
}

void WorkThread::run(const std::stop_token& stop) {
  std::unique_lock lock(mutex);
  while (waitForJob(lock, stop)) {
    Jobs& next = nextJobs();
    const Job job = std::move(next.front());
    next.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

bool WorkThread::waitForJob(std::unique_lock<std::mutex>& lock, const std::stop_token& stop) {
  const auto hasJob = [this] { return !nextJobs().empty(); };
  if (onRest && !changed.wait_for(lock, stop, kRestDelay, hasJob) && !stop.stop_requested()) {
    lock.unlock();
    onRest();
    lock.lock();
  }
  return changed.wait(lock, stop, hasJob) && !stop.stop_requested();
}

}  // namespace orvel::service
