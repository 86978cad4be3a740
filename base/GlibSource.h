#pragma once

#include <glib.h>

#include <functional>
#include <memory>
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

/// Lets `source` call `action` once on `context`. `action` may drop the source.
inline GlibSource callOnce(GMainContext* context, GSource* source, std::function<void()> action) {
  g_source_set_callback(
      source,
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(action)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
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
