#pragma once

#include <functional>
#include <memory>

#include "base/GlibSource.h"

struct libmnt_monitor;

namespace orvel::hotplug {

/// Tells when something is mounted or unmounted in the mount namespace of this process. Costs
/// nothing while nothing is.
class MountWatch {
 public:
  /// Calls `changed` on the main context of this thread. Throws std::runtime_error with a text for
  /// people when the system offers no notice.
  explicit MountWatch(std::function<void()> changed);

 private:
  struct UnrefMonitor {
    void operator()(libmnt_monitor* monitor) const;
  };

  static gboolean onEvent(gint descriptor, GIOCondition condition, gpointer self);

  std::function<void()> onChange;
  std::unique_ptr<libmnt_monitor, UnrefMonitor> monitor;
  GlibSource source;
};

}  // namespace orvel::hotplug
