#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <utility>

namespace orvel::hotplug {

struct DestroySource {
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
};

/// An event source of a main context. It is detached when its owner goes.
using GlibSource = std::unique_ptr<GSource, DestroySource>;

/// Calls `action` once, after `delayMs`, on the main context of this thread. `action` may drop
/// the source.
inline GlibSource callLater(unsigned delayMs, std::function<void()> action) {
  GlibSource source(g_timeout_source_new(delayMs));
  g_source_set_callback(
      source.get(),
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(action)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
  g_source_attach(source.get(), g_main_context_get_thread_default());
  return source;
}

}  // namespace orvel::hotplug
