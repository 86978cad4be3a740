#include "orchestration/Orvel.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "base/Timer.h"
#include "db/BusyHandler.h"
#include "orchestration/MSDPipeline.h"
#include "orchestration/MtpPipeline.h"

namespace orvel {

namespace {

/// How long a pipeline's end is waited for: on a healthy device it takes a tenth.
constexpr std::chrono::milliseconds kPatience{500};
/// A host that tries a dead device over and over must not run out of threads.
constexpr std::size_t kMostLeftBehind = 16;

Runnable::Deadline patienceFromNow() {
  return std::chrono::steady_clock::now() + kPatience;
}

/// The form in which the log names an object.
unsigned int addressOf(const void* object) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object));
}

}  // namespace

/// Holds the controller's lock for a scope and remembers which thread does.
class ORVEL_SCOPED_CAPABILITY Orvel::LockHolder {
 public:
  explicit LockHolder(Orvel& locked) ORVEL_ACQUIRE(locked.lock) : controller(locked) {
    controller.lock.lock();
    controller.holder = pthread_self();
  }
  ~LockHolder() ORVEL_RELEASE() {
    controller.liveCount = controller.pipelines.size();
    controller.holder = 0;
    controller.lock.unlock();
  }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

 private:
  Orvel& controller;
};

Orvel::Orvel() : Server("Orvel") {}

Orvel::~Orvel() {
  if (!stopping()) Orvel::stop();
  if (!wasJoined) Orvel::join();
  const LockHolder held(*this);
  OV_INFO("Orvel::~Orvel");
  for (const auto& [request, pipeline] : pipelines) delete pipeline;
  pipelines.clear();
  reap();
}

void Orvel::enqueueNewOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                                const std::string& mountPoint, bool isFirstPartition) {
  accept({HostCall::Start, type, deviceId, static_cast<unsigned int>(handle), mountPoint,
          isFirstPartition});
}

void Orvel::prioritizeOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                                const std::string& mountPoint) {
  accept(
      {HostCall::Prioritize, type, deviceId, static_cast<unsigned int>(handle), mountPoint, false});
}

// Touches `postponed` without locking where this thread is known to hold the lock.
void Orvel::accept(HostCall call) ORVEL_NO_THREAD_SAFETY_ANALYSIS {
  if (holder == pthread_self()) {
    postponed.push_back(std::move(call));
    return;
  }
  std::deque<HostCall> calls;
  calls.push_back(std::move(call));
  while (!calls.empty()) {
    const LockHolder held(*this);
    carryOut(calls.front());
    calls.pop_front();
    for (HostCall& later : postponed) calls.push_back(std::move(later));
    postponed.clear();
  }
}

void Orvel::carryOut(const HostCall& call) {
  const sqlstl::WaitLimit limit(sqlstl::kHostLockWait);
  try {
    if (call.kind == HostCall::Start) {
      startOperation(call);
    } else {
      prioritize(call);
    }
  } catch (const std::exception& error) {
    // Nothing may be thrown through a slot of the host's main loop.
    OV_ERROR("%s: a call of the host failed: %s", name, error.what());
  }
}

void Orvel::startOperation(const HostCall& call) {
  OV_INFO("enqueueNewOperation %s type %d handle %u mp %s", call.deviceId.c_str(),
          static_cast<int>(call.type), call.handle, call.mountPoint.c_str());
  if (stopping()) {
    OV_WARN("SYSTEM is Stopping cannot start it again %s", name);
    return;
  }
  supersede(call);
  reap();
  std::unique_ptr<SongDirectoryPipeline> created = makePipeline(call.type);
  const auto progressOfNew = created->progress;
  remember(call.mountPoint, progressOfNew);
  try {
    begin(call, std::move(created));
  } catch (const std::exception&) {
    progressOfNew->fail();
    throw;
  }
}

void Orvel::begin(const HostCall& call, std::unique_ptr<SongDirectoryPipeline> created) {
  if (leftBehind.size() >= kMostLeftBehind) {
    throw std::runtime_error("too many requests wait for devices that do not answer");
  }
  const int id = ++lastOpId;
  SongDirectoryPipeline* const pipeline = created.get();
  const bool first = pipelines.empty();
  OrvelOperation request;
  request.handle = call.handle;
  request.deviceId = call.deviceId;
  request.mountPoint = call.mountPoint;
  request.startTime = Timer::now();
  request.opId = id;
  SongDirectoryPipeline*& entry = pipelines[request];
  entry = created.release();
  pipeline->launch();
  if (first) {
    OV_INFO("START IT");
    pipeline->start();
  }
  OV_INFO("Orvel New Operation pipe: %x op id: %d", addressOf(pipeline), id);
  const OrvelOperation key = request;
  try {
    pipeline->enqueueNewOperation(request, call.isFirstPartition);
  } catch (const std::exception&) {
    // A pipeline without its root block would never end.
    pipeline->stop();
    if (awaitEnd(pipeline, patienceFromNow())) delete pipeline;
    pipelines.erase(key);
    throw;
  }
}

std::unique_ptr<SongDirectoryPipeline> Orvel::makePipeline(OperationType type) {
  if (type == MSD_OPERATION) return std::make_unique<MSDPipeline>(this);
  return std::make_unique<MtpPipeline>(this);
}

void Orvel::supersede(const HostCall& call) {
  std::vector<decltype(pipelines)::iterator> superseded;
  superseded.reserve(pipelines.size());
  const Deadline deadline = patienceFromNow();
  for (auto entry = pipelines.begin(); entry != pipelines.end(); ++entry) {
    auto& [request, pipeline] = *entry;
    if (request.deviceId != call.deviceId) continue;
    if (request.mountPoint != call.mountPoint) {
      OV_INFO("RNC NOTHING TO DO %s", request.deviceId.c_str());
      continue;
    }
    OV_INFO("Stopping %s type %d handle %u mp %s pipe %x", call.deviceId.c_str(),
            static_cast<int>(call.type), call.handle, call.mountPoint.c_str(), addressOf(pipeline));
    superseded.push_back(entry);
    pipeline->stop();
    if (awaitEnd(pipeline, deadline)) delete pipeline;
    pipeline = nullptr;
  }
  if (superseded.empty()) return;
  OV_INFO("Erasing %x", addressOf(&superseded));
  for (const auto& entry : superseded) pipelines.erase(entry);
}

/// Waits for the threads of a stopped pipeline. False when they do not end and it was left behind.
bool Orvel::awaitEnd(SongDirectoryPipeline* pipeline, Deadline deadline) {
  if (pipeline->hasEndedBy(deadline)) {
    pipeline->join();
    return true;
  }
  OV_WARN("pipeline %x is left behind: its device does not answer", addressOf(pipeline));
  pipeline->leaveBehind();
  leftBehind.push_back(pipeline);
  return false;
}

/// Deletes what was left behind and has ended since.
void Orvel::reap() {
  const auto now = std::chrono::steady_clock::now();
  const auto busy =
      std::partition(leftBehind.begin(), leftBehind.end(),
                     [&](SongDirectoryPipeline* pipeline) { return !pipeline->hasEndedBy(now); });
  for (auto ended = busy; ended != leftBehind.end(); ++ended) {
    (*ended)->join();
    delete *ended;
  }
  leftBehind.erase(busy, leftBehind.end());
}

void Orvel::prioritize(const HostCall& call) {
  OV_INFO("Orvel::prioritizeOperation %s %s %d", call.deviceId.c_str(), call.mountPoint.c_str(),
          static_cast<int>(call.type));
  for (const auto& [request, pipeline] : pipelines) {
    if (request.handle == call.handle && request.deviceId == call.deviceId &&
        request.mountPoint == call.mountPoint) {
      OV_INFO("Orvel::prioritizeOperation Starting %s %s %d", request.deviceId.c_str(),
              request.mountPoint.c_str(), static_cast<int>(call.type));
      pipeline->start();
    } else {
      pipeline->pause();
    }
  }
}

Orvel::sink_block_type_ptr Orvel::doOperation(src_block_type_ptr result) {
  const Operation& finished = result->operation;
  const LockHolder held(*this);
  if (stopping()) {
    OV_WARN("Orvel is stopped  we not waiting for this pipeline %d", finished.id);
    return {};
  }
  OV_INFO("Orvel finished operation %s hanlde %u mp %s opid: %d", finished.deviceId.c_str(),
          finished.handle, finished.mountPoint.c_str(), finished.id);
  // Found without a key of its own, which would take memory: a result must not get lost.
  const auto entry = std::find_if(pipelines.begin(), pipelines.end(), [&](const auto& candidate) {
    return candidate.first.opId == finished.id;
  });
  if (entry != pipelines.end()) {
    SongDirectoryPipeline* const pipeline = entry->second;
    OV_INFO("Orvel END FOR for %x id: %d", addressOf(pipeline), finished.id);
    pipeline->stop();
    if (awaitEnd(pipeline, patienceFromNow())) {
      OV_INFO("Orvel delete pipeline: %x op id: %d", addressOf(pipeline), finished.id);
      delete pipeline;
    }
    pipelines.erase(entry);
  }
  if (!pipelines.empty()) {
    SongDirectoryPipeline* const next = pipelines.begin()->second;
    OV_INFO("queue is not empty: go on %x", addressOf(next));
    next->start();
  }
  return {};
}

void Orvel::stop() {
  OV_INFO("Orvel::stop");
  {
    const LockHolder held(*this);
    for (const auto& [request, pipeline] : pipelines) {
      OV_INFO("Orvel stopping pipeline: %x ", addressOf(pipeline));
      pipeline->stop();
    }
  }
  Server::stop();
}

void Orvel::join() {
  OV_INFO("Orvel::join");
  Server::join();
  const LockHolder held(*this);
  const Deadline deadline = patienceFromNow();
  for (auto entry = pipelines.begin(); entry != pipelines.end();) {
    entry = awaitEnd(entry->second, deadline) ? std::next(entry) : pipelines.erase(entry);
  }
  wasJoined = true;
}

std::optional<ProgressSnapshot> Orvel::progressOf(const std::string& mountPoint) const {
  const MutexLock guard(progressMutex);
  const auto found = newestProgress.find(mountPoint);
  if (found == newestProgress.end()) return std::nullopt;
  return found->second->snapshot();
}

void Orvel::remember(const std::string& mountPoint, std::shared_ptr<RequestProgress> newest) {
  const MutexLock guard(progressMutex);
  newestProgress[mountPoint] = std::move(newest);
}

}  // namespace orvel
