#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <utility>

namespace orvel::service {

/// Calls a function again and again from GLib's default main loop while it is running. Main loop
/// only.
class Timer {
 public:
  explicit Timer(std::function<void()> call) : onTimeout(std::move(call)) {}
  ~Timer() { stop(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// Begins, or goes on with another interval. Keeps the pace of a timer with the same one.
  void run(std::chrono::milliseconds wanted) {
    if (source != 0 && wanted == interval) return;
    stop();
    interval = wanted;
    source = g_timeout_add(
        static_cast<guint>(wanted.count()),
        [](gpointer timer) -> gboolean {
          static_cast<Timer*>(timer)->onTimeout();
          return G_SOURCE_CONTINUE;
        },
        this);
  }
  void stop() {
    if (source != 0) g_source_remove(source);
    source = 0;
  }
  [[nodiscard]] bool isRunning() const { return source != 0; }

 private:
  std::function<void()> onTimeout;
  std::chrono::milliseconds interval{0};
  guint source = 0;
};

}  // namespace orvel::service
