#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "base/Mutex.h"
#include "phones/DeviceBus.h"
#include "phones/DeviceThread.h"

namespace orvel {

/// How a question deals with a device that is busy.
enum class WhenBusy {
  Answer,  ///< answers STATUS_BUSY: the caller repeats the question
  Wait     ///< waits until the device is free
};

/// The connection with one attached device: its session, and the thread that alone uses the
/// session. Any thread may call.
class DeviceConnection : public std::enable_shared_from_this<DeviceConnection> {
 public:
  DeviceConnection(t_handle deviceHandle, deviceBus::BusDevice busDevice);

  [[nodiscard]] t_handle handle() const { return deviceHandle; }
  [[nodiscard]] const deviceBus::BusDevice& bus() const { return busDevice; }
  [[nodiscard]] bool isGone() const { return gone; }
  /// From now on every question is answered STATUS_NOT_OK_BAD_HANDLE. Takes the device off the list
  /// of devices and ends the session; later calls wait for the first one and do nothing.
  void markGone();

  /// Opens the session unless it is open, and waits for the result.
  DeviceDescription open();
  /// Ends the session once the device's thread is free, then calls `whenClosed` on that thread.
  void close(std::function<void()> whenClosed);
  /// STATUS_OK while the session is open; otherwise the status that every question gets.
  t_status checkOpen();

  /// True from when the device did not answer kMaxTimeouts questions in a row, or was busy for
  /// longer than a question is repeated, until `trustAgain`.
  [[nodiscard]] bool isGivenUp() const { return givenUp; }
  void giveUp();
  void trustAgain();

  /// Puts a question to the device. `value` changes only when the answer is STATUS_OK. `question`
  /// may outlive the call, because a caller that is stopped leaves early: it must own its
  /// arguments.
  template <class Value, class Question>
  t_status ask(Question question, Value& value, WhenBusy whenBusy) {
    const auto answer = std::make_shared<Value>();
    const t_status status = ask(
        [question = std::move(question), answer](DeviceSession& session) {
          *answer = Value();
          return question(session, *answer);
        },
        whenBusy);
    if (status == STATUS_OK) value = std::move(*answer);
    return status;
  }

 private:
  using Request = std::function<t_status(DeviceSession&)>;

  t_status ask(const Request& request, WhenBusy whenBusy);
  t_status askOnce(const Request& request, std::optional<std::chrono::milliseconds> untilBegun);
  /// Counts the unanswered questions.
  void note(t_status status);

  // On the device's own thread.
  void openSession();
  void dropSession();
  t_status answer(const Request& request);

  void leave();
  t_status answerGone();
  std::shared_ptr<DeviceSession> openedSession();

  const t_handle deviceHandle;
  const deviceBus::BusDevice busDevice;

  std::atomic<bool> gone{false};
  std::atomic<bool> givenUp{false};
  std::atomic<int> timeoutsInRow{0};
  std::atomic<int> busyInRow{0};
  std::once_flag removal;
  DeviceThread thread;

  Mutex mutex;
  std::shared_ptr<DeviceSession> session ORVEL_GUARDED_BY(mutex);  ///< null unless it is open
  DeviceDescription description ORVEL_GUARDED_BY(mutex);
};

}  // namespace orvel
