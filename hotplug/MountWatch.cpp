#include "hotplug/MountWatch.h"

#include <glib-unix.h>
#include <libmount.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace orvel::hotplug {

void MountWatch::UnrefMonitor::operator()(libmnt_monitor* monitor) const {
  mnt_unref_monitor(monitor);
}

// The kernel clears its notice as soon as it is polled, whether or not the main loop comes to serve
// it. The library's monitor keeps the notice until it is cleaned up.
MountWatch::MountWatch(std::function<void()> changed)
    : onChange(std::move(changed)), monitor(mnt_new_monitor()) {
  const int enabled = monitor ? mnt_monitor_enable_kernel(monitor.get(), 1) : -ENOMEM;
  const int descriptor = enabled == 0 ? mnt_monitor_get_fd(monitor.get()) : enabled;
  if (descriptor < 0) {
    throw std::runtime_error(std::string("Mounts cannot be watched (") +
                             std::strerror(-descriptor) + "). Check that /proc is mounted.");
  }
  source.reset(g_unix_fd_source_new(descriptor, G_IO_IN));
  g_source_set_callback(source.get(), G_SOURCE_FUNC(&MountWatch::onEvent), this, nullptr);
  g_source_attach(source.get(), g_main_context_get_thread_default());
}

gboolean MountWatch::onEvent(gint /*descriptor*/, GIOCondition /*condition*/, gpointer self) {
  auto& watch = *static_cast<MountWatch*>(self);
  mnt_monitor_event_cleanup(watch.monitor.get());
  watch.onChange();
  return G_SOURCE_CONTINUE;
}

}  // namespace orvel::hotplug
