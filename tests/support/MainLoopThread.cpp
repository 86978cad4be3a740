#include "tests/support/MainLoopThread.h"

#include <glib.h>

namespace orvel::test {

MainLoopThread::MainLoopThread()
    : loop(g_main_loop_new(nullptr, FALSE)), thread([this] { g_main_loop_run(loop); }) {}

MainLoopThread::~MainLoopThread() {
  // Quitting from within the loop also works before the thread has entered it.
  g_idle_add_full(
      G_PRIORITY_HIGH,
      [](gpointer quitting) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(quitting));
        return G_SOURCE_REMOVE;
      },
      loop, nullptr);
  thread.join();
  g_main_loop_unref(loop);
}

}  // namespace orvel::test
