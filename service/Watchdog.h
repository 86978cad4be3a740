#pragma once

#include <chrono>
#include <cstdint>

#include "service/Timer.h"

namespace orvel::service {

/// Tells the service manager that the main loop lives, as often as it demands (sd_notify(3)). While
/// nothing is to be done it asks for no watch, so that nothing wakes up. Without a manager that
/// watches, it does nothing. Main loop only.
class Watchdog {
 public:
  Watchdog();

  void setBusy(bool wanted);

 private:
  std::uint64_t patience = 0;  ///< of the manager, in microseconds; 0: it does not watch
  bool isBusy = false;
  Timer signOfLife;
};

}  // namespace orvel::service
