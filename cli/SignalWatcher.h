#pragma once

#include <QSocketNotifier>
#include <csignal>
#include <functional>
#include <memory>

namespace orvel::cli {

/// Turns the first SIGINT or SIGTERM into a call on the main loop. A second one ends the process at
/// once, as it would without a watcher. Construct it before the first thread starts: threads
/// inherit the signal mask.
class SignalWatcher {
 public:
  SignalWatcher();
  ~SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

  /// Called at most once.
  std::function<void()> onSignal;
  /// The number of the received signal, 0 for none.
  [[nodiscard]] int received() const { return number; }

 private:
  void receive();
  void giveBack();

  sigset_t watched{};
  int descriptor = -1;
  int number = 0;
  std::unique_ptr<QSocketNotifier> notifier;
};

}  // namespace orvel::cli
