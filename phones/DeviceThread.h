#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace orvel {

/// The thread of one device: carries out what callers ask of the device, one thing after the other,
/// so that a caller can leave while a call that nothing can cancel ends behind it.
class DeviceThread {
 public:
  enum class End {
    Done,
    Busy,    ///< not begun within the caller's patience, and withdrawn
    Stopped  ///< the caller's stage was stopped; what was begun ends behind it
  };
  using Patience = std::optional<std::chrono::milliseconds>;

  DeviceThread();
  /// Lets the thread end once it has done what it was asked to; does not wait for it.
  ~DeviceThread();
  DeviceThread(const DeviceThread&) = delete;
  DeviceThread& operator=(const DeviceThread&) = delete;

  /// Has `work` carried out and waits for its end. `work` must own what it uses, and not throw. Any
  /// thread.
  End run(std::function<void()> work, Patience patience = {});
  /// Has `work` carried out some time later.
  void post(std::function<void()> work);

 private:
  struct State;
  struct Task;

  static void serve(State& state);
  std::shared_ptr<Task> append(std::function<void()> work);

  const std::shared_ptr<State> state;
};

}  // namespace orvel
