#include "phones/DeviceConnection.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <exception>

#include "base/Log.h"
#include "base/StageThread.h"
#include "phones/DeviceLimits.h"
#include "phones/DeviceList.h"
#include "phones/retryWhileBusy.h"

namespace orvel {

namespace {

/// How long a question that may be answered "busy" waits for its turn.
constexpr std::chrono::milliseconds kPatience{1000};

constexpr char kDoesNotAnswer[] = "The device does not answer. Detach it and attach it again.";

}  // namespace

DeviceConnection::DeviceConnection(t_handle handle, deviceBus::BusDevice bus)
    : deviceHandle(handle), busDevice(std::move(bus)) {}

DeviceDescription DeviceConnection::open() {
  const auto end = thread.run([self = shared_from_this()] { self->openSession(); },
                              {.silence = kMaxTimeouts * kAnswerTime});
  const MutexLock lock(mutex);
  DeviceDescription described = description;
  if (end == DeviceThread::End::Silent) described.error = kDoesNotAnswer;
  return described;
}

void DeviceConnection::openSession() {
  assert(thread.isCurrent());
  if (openedSession() != nullptr || gone) return;
  DeviceDescription described;
  std::shared_ptr<DeviceSession> opened;
  try {
    opened = deviceBus::connect(busDevice);
    const t_status status = opened->open(described);
    if (status != STATUS_OK) opened.reset();
    if (status == STATUS_NOT_OK_BAD_HANDLE) markGone();
  } catch (const std::exception& error) {
    described.error = error.what();
  }
  if (!described.error.empty()) {
    OV_WARN("device %s: %s", busDevice.path.c_str(), described.error.c_str());
  }
  const MutexLock lock(mutex);
  description = std::move(described);
  session = std::move(opened);
}

void DeviceConnection::close(std::function<void()> whenClosed) {
  thread.post([self = shared_from_this(), whenClosed = std::move(whenClosed)] {
    self->dropSession();
    whenClosed();
  });
}

void DeviceConnection::dropSession() {
  assert(thread.isCurrent());
  std::shared_ptr<DeviceSession> ended;  // destroyed without the lock, since this may take long
  const MutexLock lock(mutex);
  ended.swap(session);
}

void DeviceConnection::markGone() {
  std::call_once(removal, &DeviceConnection::leave, this);
}

void DeviceConnection::leave() {
  gone = true;
  OV_INFO("device %s with handle %u is gone", busDevice.path.c_str(), deviceHandle);
  DeviceList::instance().remove(deviceHandle);
  close([] {});
}

/// Returns the status of a device that is gone, once the removal listener knows of it.
t_status DeviceConnection::answerGone() {
  markGone();
  return STATUS_NOT_OK_BAD_HANDLE;
}

std::shared_ptr<DeviceSession> DeviceConnection::openedSession() {
  const MutexLock lock(mutex);
  return session;
}

t_status DeviceConnection::checkOpen() {
  if (gone) return answerGone();
  if (openedSession() != nullptr) return STATUS_OK;
  note(STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED);
  return STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED;
}

void DeviceConnection::giveUp() {
  if (givenUp.exchange(true)) return;
  OV_WARN("device %s does not answer: it is given up for this request", busDevice.path.c_str());
}

void DeviceConnection::trustAgain() {
  timeoutsInRow = 0;
  busyInRow = 0;
  givenUp = false;
}

void DeviceConnection::note(t_status status) {
  // This answer may have been given without a request to the device.
  if (status == STATUS_NOT_SUPPORTED) return;
  const bool isBusy = status == STATUS_BUSY;
  const bool isTimeout = status == STATUS_NOT_OK_GENERIC_PLUGIN_ERROR ||
                         status == STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED;
  busyInRow = isBusy ? busyInRow + 1 : 0;
  timeoutsInRow = isTimeout ? timeoutsInRow + 1 : 0;
  if (timeoutsInRow >= kMaxTimeouts || busyInRow > kBusyRetries) giveUp();
}

t_status DeviceConnection::ask(const Request& request, WhenBusy whenBusy) {
  if (whenBusy == WhenBusy::Answer) return askOnce(request, kPatience);
  const t_status status =
      retryWhileBusy([&] { return askOnce(request, {}); }, [](int /*retry*/) {});
  if (status != STATUS_BUSY) return status;
  const bool isStopped = stageThread::stopToken().stop_requested();
  return isStopped ? STATUS_NOT_OK_GENERIC_PLUGIN_ERROR : STATUS_NOT_OK;
}

t_status DeviceConnection::askOnce(const Request& request,
                                   std::optional<std::chrono::milliseconds> untilBegun) {
  const auto status = std::make_shared<t_status>(STATUS_NOT_OK_GENERIC_PLUGIN_ERROR);
  const int timeoutsLeft = std::max(kMaxTimeouts - timeoutsInRow, 1);
  const auto end =
      thread.run([self = shared_from_this(), status, request] { *status = self->answer(request); },
                 {.untilBegun = untilBegun, .silence = timeoutsLeft * kAnswerTime});
  if (end == DeviceThread::End::Busy) return STATUS_BUSY;
  if (end == DeviceThread::End::Silent) giveUp();
  return end == DeviceThread::End::Done ? *status : STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
}

t_status DeviceConnection::answer(const Request& request) {
  assert(thread.isCurrent());
  if (gone) return answerGone();
  const auto opened = openedSession();
  if (opened == nullptr) return STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED;
  try {
    const t_status status = request(*opened);
    note(status);
    if (status == STATUS_NOT_OK_BAD_HANDLE) markGone();
    return status;
  } catch (const std::exception& error) {
    OV_WARN("device %s: %s", busDevice.path.c_str(), error.what());
    return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
  }
}

}  // namespace orvel
