#pragma once

#include <functional>

namespace orvel::service {

/// Queues `call` for the thread of GLib's default main context. Any thread.
void callOnMainLoop(std::function<void()> call);

}  // namespace orvel::service
