#include <orvel/MtpDevice.h>
#include <pthread.h>

#include <ctime>
#include <map>
#include <stop_token>

#include "base/Log.h"
#include "base/Mutex.h"
#include "base/NoDestructor.h"
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

struct MtpDevice::State {
  struct Device {
    bool connected = false;
    bool ready = false;
  };

  State() : attributes(), cond(monotonic(attributes)) {}
  ~State() { pthread_condattr_destroy(&attributes); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  [[nodiscard]] Device find(std::size_t handle) const ORVEL_REQUIRES(mutex) {
    const auto found = devices.find(keyOf(handle));
    return found == devices.end() ? Device() : found->second;
  }

  Mutex mutex;
  pthread_condattr_t attributes;
  Condition cond;
  std::map<unsigned int, Device> devices ORVEL_GUARDED_BY(mutex);
  unsigned long broadcasts ORVEL_GUARDED_BY(mutex) = 0;
};

MtpDevice::MtpDevice() : state(std::make_unique<State>()) {}
MtpDevice::~MtpDevice() = default;

MtpDevice& MtpDevice::instance() {
  // Never destroyed: stage threads may outlive the main function.
  static NoDestructor<MtpDevice> registry;
  return *registry;
}

void MtpDevice::setDeviceConnected(std::size_t handle) {
  OV_INFO("setDeviceConnected %u", keyOf(handle));
  {
    const MutexLock lock(state->mutex);
    state->devices[keyOf(handle)] = {true, false};
  }
  OV_INFO("setDeviceConnected DONE");
}

void MtpDevice::setDeviceReady(std::size_t handle) {
  OV_INFO("setDeviceReady %u", keyOf(handle));
  {
    const MutexLock lock(state->mutex);
    state->devices[keyOf(handle)].ready = true;
    ++state->broadcasts;
    state->cond.broadcast();
  }
  OV_INFO("setDeviceReady DONE");
}

void MtpDevice::disconnectDevice(std::size_t handle) {
  OV_INFO("disconnectDevice");
  const MutexLock lock(state->mutex);
  // Every attachment has a new handle: nothing about this one is needed again.
  state->devices.erase(keyOf(handle));
  ++state->broadcasts;
  state->cond.broadcast();
}

bool MtpDevice::isDeviceConnected(std::size_t handle) {
  const MutexLock lock(state->mutex);
  return state->find(handle).connected;
}

bool MtpDevice::isDeviceReady(std::size_t handle) {
  const MutexLock lock(state->mutex);
  return state->find(handle).ready;
}

bool MtpDevice::waitDeviceReady(std::size_t handle) {
  if (!isDeviceConnected(handle)) return false;
  OV_INFO("waitDeviceReady %u", keyOf(handle));
  const std::stop_token& stopped = stageThread::stopToken();
  // Made without the lock, because the constructor runs the callback if the stage is stopped
  // already.
  const std::stop_callback wake(stopped, [this] {
    const MutexLock lock(state->mutex);
    state->cond.broadcast();
  });
  bool ready = false;
  {
    const MutexLock lock(state->mutex);
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += kReadyTimeoutSeconds;
    const unsigned long seen = state->broadcasts;
    // Goes back to waiting after a spurious wake-up.
    while (state->broadcasts == seen && !stopped.stop_requested()) {
      if (!state->cond.waitUntil(state->mutex, deadline)) break;
    }
    ready = state->find(handle).ready;
  }
  OV_INFO("finished");
  return ready;
}

}  // namespace orvel
