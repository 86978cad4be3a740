#include "service/WorkThread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <utility>

namespace orvel::service {

WorkThread::WorkThread(int niceness)
    : thread([this, niceness](const std::stop_token& stop) { run(stop, niceness); }) {}

WorkThread::~WorkThread() {
  thread.request_stop();
  thread.join();
}

void WorkThread::post(Job job) {
  {
    const std::lock_guard lock(mutex);
    jobs.push_back(std::move(job));
  }
  changed.notify_one();
}

void WorkThread::run(const std::stop_token& stop, int niceness) {
  // On Linux a thread has a niceness of its own. Where it is refused, the work goes on without.
  if (niceness != 0) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
  std::unique_lock lock(mutex);
  while (changed.wait(lock, stop, [this] { return !jobs.empty(); }) && !stop.stop_requested()) {
    const Job job = std::move(jobs.front());
    jobs.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

}  // namespace orvel::service
