#include "service/Watchdog.h"

#include <systemd/sd-daemon.h>

namespace orvel::service {

namespace {

void signal() {
  sd_notify(0, "WATCHDOG=1");
}

}  // namespace

Watchdog::Watchdog() : signOfLife(signal) {
  if (sd_watchdog_enabled(0, &patience) <= 0) {
    patience = 0;
    return;
  }
  sd_notify(0, "WATCHDOG_USEC=0");
}

void Watchdog::setBusy(bool wanted) {
  if (patience == 0 || wanted == isBusy) return;
  isBusy = wanted;
  sd_notifyf(0, "WATCHDOG_USEC=%llu", wanted ? static_cast<unsigned long long>(patience) : 0ULL);
  if (wanted) {
    signal();
    signOfLife.run(std::chrono::milliseconds(patience / 3000));
  } else {
    signOfLife.stop();
  }
}

}  // namespace orvel::service
