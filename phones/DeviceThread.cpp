#include "phones/DeviceThread.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <mutex>
#include <string>
#include <utility>

#include "base/Log.h"
#include "base/StageThread.h"
#include "base/WorkPriority.h"

namespace orvel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kName = "MtpDevice";

/// How often a waiting caller looks for a sign of life.
constexpr std::chrono::milliseconds kLook{1000};

/// A thread that was woken this often has heard from its device: every operation takes a few
/// wake-ups, and so does every transfer that times out, but those are 20 seconds apart.
constexpr unsigned long kSignOfLife = 50;

/// How often a thread of this process has waited for something.
unsigned long wakeUpsOf(pid_t thread) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
  unsigned long count = 0;
  for (std::string word; status >> word;) {
    if (word == "voluntary_ctxt_switches:") status >> count;
  }
  return count;
}

}  // namespace

struct DeviceThread::Task {
  std::function<void()> work;
  bool begun = false;
  bool done = false;
};

struct DeviceThread::State {
  std::mutex mutex;
  std::condition_variable_any changed;
  std::deque<std::shared_ptr<Task>> tasks;
  bool closing = false;
  pid_t thread = 0;
  bool isWorking = false;
  Clock::time_point lastSign = {};  ///< of life from the device, since the work began
  unsigned long wakeUps = 0;        ///< of the thread until then

  // The caller holds the mutex.
  void noteSign(unsigned long wakeUpsNow) {
    lastSign = Clock::now();
    wakeUps = wakeUpsNow;
  }
  /// How long the thread has been waiting for the device.
  Clock::duration silence() {
    if (!isWorking) return {};
    // A long request, such as the listing of a large folder, consists of many short operations.
    const unsigned long wakeUpsNow = wakeUpsOf(thread);
    if (wakeUpsNow - wakeUps >= kSignOfLife) noteSign(wakeUpsNow);
    return Clock::now() - lastSign;
  }
};

DeviceThread::DeviceThread() : state(std::make_shared<State>()) {
  std::thread thread([shared = state] { serve(*shared); });
  pthread_setname_np(thread.native_handle(), kName);
  threadId = thread.get_id();
  thread.detach();
}

DeviceThread::~DeviceThread() {
  const std::lock_guard lock(state->mutex);
  state->closing = true;
  state->changed.notify_all();
}

bool DeviceThread::isCurrent() const {
  return std::this_thread::get_id() == threadId;
}

void DeviceThread::serve(State& state) {
  adoptWorkPriority();
  setLogOrigin(kName);
  std::unique_lock lock(state.mutex);
  state.thread = gettid();
  while (true) {
    state.changed.wait(lock, [&] { return state.closing || !state.tasks.empty(); });
    if (state.tasks.empty()) return;
    const std::shared_ptr<Task> task = std::move(state.tasks.front());
    state.tasks.pop_front();
    task->begun = true;
    state.isWorking = true;
    state.noteSign(wakeUpsOf(state.thread));
    state.changed.notify_all();
    lock.unlock();
    task->work();
    task->work = nullptr;
    lock.lock();
    state.isWorking = false;
    task->done = true;
    state.changed.notify_all();
  }
}

std::shared_ptr<DeviceThread::Task> DeviceThread::append(std::function<void()> work) {
  auto task = std::make_shared<Task>();
  task->work = std::move(work);
  state->tasks.push_back(task);
  state->changed.notify_all();
  return task;
}

void DeviceThread::post(std::function<void()> work) {
  const std::lock_guard lock(state->mutex);
  append(std::move(work));
}

DeviceThread::End DeviceThread::run(std::function<void()> work, const Patience& patience) {
  assert(!isCurrent());
  const std::stop_token& stopped = stageThread::stopToken();
  const Clock::time_point asked = Clock::now();
  std::unique_lock lock(state->mutex);
  const std::shared_ptr<Task> task = append(std::move(work));
  const auto withdrawn = [&](End end) {
    const auto waiting = std::find(state->tasks.begin(), state->tasks.end(), task);
    if (waiting != state->tasks.end()) state->tasks.erase(waiting);
    return end;
  };
  const auto look =
      std::min({kLook, patience.untilBegun.value_or(kLook), patience.silence.value_or(kLook)});
  while (!state->changed.wait_for(lock, stopped, look, [&] { return task->done; })) {
    if (stopped.stop_requested()) return withdrawn(End::Stopped);
    if (patience.silence && state->silence() >= *patience.silence) return withdrawn(End::Silent);
    const bool isLate = patience.untilBegun && Clock::now() - asked >= *patience.untilBegun;
    if (isLate && !task->begun) return withdrawn(End::Busy);
  }
  return End::Done;
}

}  // namespace orvel
