#include "phones/DeviceThread.h"

#include <pthread.h>

#include <algorithm>
#include <cassert>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "base/StageThread.h"
#include "base/WorkPriority.h"

namespace orvel {

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
};

DeviceThread::DeviceThread() : state(std::make_shared<State>()) {
  std::thread thread([shared = state] { serve(*shared); });
  pthread_setname_np(thread.native_handle(), "MtpDevice");
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
  std::unique_lock lock(state.mutex);
  while (true) {
    state.changed.wait(lock, [&] { return state.closing || !state.tasks.empty(); });
    if (state.tasks.empty()) return;
    const std::shared_ptr<Task> task = std::move(state.tasks.front());
    state.tasks.pop_front();
    task->begun = true;
    state.changed.notify_all();
    lock.unlock();
    task->work();
    task->work = nullptr;
    lock.lock();
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

DeviceThread::End DeviceThread::run(std::function<void()> work, Patience patience) {
  assert(!isCurrent());
  const std::stop_token& stopped = stageThread::stopToken();
  std::unique_lock lock(state->mutex);
  const std::shared_ptr<Task> task = append(std::move(work));
  const auto withdraw = [&] {
    const auto waiting = std::find(state->tasks.begin(), state->tasks.end(), task);
    if (waiting != state->tasks.end()) state->tasks.erase(waiting);
  };
  const auto begun = [&] { return task->begun; };
  if (patience && !state->changed.wait_for(lock, stopped, *patience, begun) &&
      !stopped.stop_requested()) {
    withdraw();
    return End::Busy;
  }
  if (state->changed.wait(lock, stopped, [&] { return task->done; })) return End::Done;
  withdraw();
  return End::Stopped;
}

}  // namespace orvel
