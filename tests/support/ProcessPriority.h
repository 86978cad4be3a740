#pragma once

#include <linux/ioprio.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include "base/WorkPriority.h"

namespace orvel::test {

/// True for a thread or process that runs with idle CPU and I/O priority; 0 is the calling thread.
inline bool isInBackground(pid_t id) {
  const long priority = syscall(SYS_ioprio_get, IOPRIO_WHO_PROCESS, id);
  return sched_getscheduler(id) == SCHED_IDLE && IOPRIO_PRIO_CLASS(priority) == IOPRIO_CLASS_IDLE;
}

/// Gives threads started while in scope the background priority.
class BackgroundScope {
 public:
  BackgroundScope() { setWorkPriority(WorkPriority::Background); }
  ~BackgroundScope() { setWorkPriority(WorkPriority::Normal); }
  BackgroundScope(const BackgroundScope&) = delete;
  BackgroundScope& operator=(const BackgroundScope&) = delete;
};

}  // namespace orvel::test
