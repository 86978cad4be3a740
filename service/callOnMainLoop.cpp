#include "service/callOnMainLoop.h"

#include <glib.h>

#include <utility>

namespace orvel::service {

void callOnMainLoop(std::function<void()> call) {
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer queued) -> gboolean {
        (*static_cast<std::function<void()>*>(queued))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(call)),
      [](gpointer queued) { delete static_cast<std::function<void()>*>(queued); });
}

}  // namespace orvel::service
