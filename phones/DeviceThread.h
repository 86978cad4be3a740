#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace orvel {

/// The thread of one device. Runs the requests to the device one after the other, so that a caller
/// that is stopped can leave at once although its request to the device cannot be cancelled.
class DeviceThread {
 public:
  enum class End {
    Done,
    Busy,     ///< withdrawn: other work kept the thread busy longer than the caller's patience
    Stopped,  ///< the caller's stage was stopped; work that had begun goes on
    Silent    ///< the device gave no sign of life; work that had begun goes on
  };
  /// How long a caller waits; without a value as long as it takes.
  struct Patience {
    std::optional<std::chrono::milliseconds> untilBegun = {};
    /// How long the thread may wait for the device at a stretch.
    std::optional<std::chrono::milliseconds> silence = {};
  };

  DeviceThread();
  /// Lets the thread end once its queue is empty. Does not wait for it.
  ~DeviceThread();
  DeviceThread(const DeviceThread&) = delete;
  DeviceThread& operator=(const DeviceThread&) = delete;

  /// Whether the caller runs on this thread.
  [[nodiscard]] bool isCurrent() const;

  /// Queues `work` and waits until it is done. `work` may outlive the call: it must own its data.
  /// It must not throw. Any thread but this one.
  End run(std::function<void()> work, const Patience& patience);
  /// Queues `work` and does not wait. Any thread.
  void post(std::function<void()> work);

 private:
  struct State;
  struct Task;

  static void serve(State& state);
  /// The caller holds the state's mutex.
  std::shared_ptr<Task> append(std::function<void()> work);

  const std::shared_ptr<State> state;  ///< shared with the thread, which may outlive this
  std::thread::id threadId;            ///< constant after construction
};

}  // namespace orvel
