#pragma once

#include <gudev/gudev.h>

#include <functional>

#include "base/GlibPointers.h"

namespace orvel::hotplug {

/// Tells when a phone or player may have been plugged in or pulled out. Does not talk to it, and
/// costs nothing in between. Says in the log when the system gives no such notice. Belongs to the
/// thread that made it.
class PhoneMonitor {
 public:
  /// Calls `changed` on the main context of this thread.
  explicit PhoneMonitor(std::function<void()> changed);
  ~PhoneMonitor();
  PhoneMonitor(const PhoneMonitor&) = delete;
  PhoneMonitor& operator=(const PhoneMonitor&) = delete;

 private:
  static void onEvent(PhoneMonitor* self, const char* action, GUdevDevice* device);

  std::function<void()> onChange;
  GlibObject<GUdevClient> client;
};

}  // namespace orvel::hotplug
