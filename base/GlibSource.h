#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace orvel {

struct DestroySource {
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
};

/// An event source of a main context. It is detached when its owner goes.
using GlibSource = std::unique_ptr<GSource, DestroySource>;

/// A call that a source makes. GLib hands it from thread to thread under locks of its own; this
/// class takes one that the thread sanitizer sees, too.
class HandedCall {
 public:
  explicit HandedCall(std::function<void()> wanted) {
    const std::lock_guard lock(handOver);
    action = std::move(wanted);
  }
  void run() {
    { const std::lock_guard lock(handOver); }
    action();
  }

 private:
  static inline std::mutex handOver;
  std::function<void()> action;
};

/// Lets `source` call `action` once on `context`. `action` may drop the source.
inline GlibSource callOnce(GMainContext* context, GSource* source, std::function<void()> action) {
  g_source_set_callback(
      source,
      [](gpointer call) -> gboolean {
        static_cast<HandedCall*>(call)->run();
        return G_SOURCE_REMOVE;
      },
      new HandedCall(std::move(action)),
      [](gpointer call) { delete static_cast<HandedCall*>(call); });
  g_source_attach(source, context);
  return GlibSource(source);
}

/// Calls `action` once, after `delayMs`, on the main context of this thread.
inline GlibSource callLater(unsigned delayMs, std::function<void()> action) {
  return callOnce(g_main_context_get_thread_default(), g_timeout_source_new(delayMs),
                  std::move(action));
}

/// Calls `action` soon on `context`. Any thread.
inline void post(GMainContext* context, std::function<void()> action) {
  g_source_unref(callOnce(context, g_timeout_source_new(0), std::move(action)).release());
}

}  // namespace orvel
