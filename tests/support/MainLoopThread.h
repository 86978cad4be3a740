#pragma once

#include <glib.h>

#include <thread>

namespace orvel::test {

/// Runs GLib's default main context on a thread of its own while it lives, as a host's main loop
/// does: playlists are parsed there.
class MainLoopThread {
 public:
  MainLoopThread();
  ~MainLoopThread();
  MainLoopThread(const MainLoopThread&) = delete;
  MainLoopThread& operator=(const MainLoopThread&) = delete;

 private:
  GMainLoop* loop;
  std::thread thread;
};

}  // namespace orvel::test
