#include "mtp/MtpDevice.h"

#include <ctime>
#include <stop_token>

#include "base/Log.h"
#include "base/StageThread.h"

namespace orvel {

namespace {

constexpr int kReadyTimeoutSeconds = 25;

const pthread_condattr_t& monotonic(pthread_condattr_t& attributes) {
  pthread_condattr_init(&attributes);
  const int error = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  if (error != 0) OV_WARN("Error setting clock %d", error);
  return attributes;
}

unsigned int keyOf(std::size_t handle) {
  return static_cast<unsigned int>(handle);
}

}  // namespace

MtpDevice::MtpDevice() : attributes(), cond(monotonic(attributes)) {}

MtpDevice::~MtpDevice() {
  pthread_condattr_destroy(&attributes);
}

MtpDevice& MtpDevice::instance() {
  // Never destroyed: stage threads may outlive the main function.
  static auto* const registry = new MtpDevice;
  return *registry;
}

void MtpDevice::setDeviceConnected(std::size_t handle) {
  OV_INFO("setDeviceConnected %u", keyOf(handle));
  {
    const MutexLock lock(mutex);
    devices[keyOf(handle)] = {true, false};
  }
  OV_INFO("setDeviceConnected DONE");
}

void MtpDevice::setDeviceReady(std::size_t handle) {
  OV_INFO("setDeviceReady %u", keyOf(handle));
  {
    const MutexLock lock(mutex);
    devices[keyOf(handle)].ready = true;
    ++broadcasts;
    cond.broadcast();
  }
  OV_INFO("setDeviceReady DONE");
}

void MtpDevice::disconnectDevice(std::size_t handle) {
  OV_INFO("disconnectDevice");
  const MutexLock lock(mutex);
  // Every attachment has a new handle: nothing about this one is needed again.
  devices.erase(keyOf(handle));
}

MtpDevice::Device MtpDevice::find(std::size_t handle) const {
  const auto found = devices.find(keyOf(handle));
  return found == devices.end() ? Device() : found->second;
}

bool MtpDevice::isDeviceConnected(std::size_t handle) {
  const MutexLock lock(mutex);
  return find(handle).connected;
}

bool MtpDevice::isDeviceReady(std::size_t handle) {
  const MutexLock lock(mutex);
  return find(handle).ready;
}

bool MtpDevice::waitDeviceReady(std::size_t handle) {
  if (!isDeviceConnected(handle)) return false;
  OV_INFO("waitDeviceReady %u", keyOf(handle));
  const std::stop_token& stopped = stageThread::stopToken();
  // Made without the lock, because the constructor runs the callback if the stage is stopped
  // already.
  const std::stop_callback wake(stopped, [this] {
    const MutexLock lock(mutex);
    cond.broadcast();
  });
  bool ready = false;
  {
    const MutexLock lock(mutex);
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += kReadyTimeoutSeconds;
    const unsigned long seen = broadcasts;
    // Goes back to waiting after a spurious wake-up.
    while (broadcasts == seen && !stopped.stop_requested()) {
      if (!cond.waitUntil(mutex, deadline)) break;
    }
    ready = find(handle).ready;
  }
  OV_INFO("finished");
  return ready;
}

}  // namespace orvel
