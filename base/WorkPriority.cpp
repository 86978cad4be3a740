#include "base/WorkPriority.h"

#include <linux/ioprio.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "base/Log.h"

namespace orvel {

namespace {

std::atomic<WorkPriority> chosen{WorkPriority::Normal};

void report(bool isSet, const char* what) noexcept {
  if (!isSet) OV_WARN("cannot work in the background: %s: %s", what, std::strerror(errno));
}

}  // namespace

void setWorkPriority(WorkPriority priority) {
  chosen = priority;
}

void adoptWorkPriority() noexcept {
  if (chosen == WorkPriority::Normal) return;
  constexpr int kCallingThread = 0;
  const sched_param none{};
  report(sched_setscheduler(kCallingThread, SCHED_IDLE, &none) == 0, "sched_setscheduler");
  report(syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, kCallingThread,
                 IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0)) == 0,
         "ioprio_set");
}

}  // namespace orvel
