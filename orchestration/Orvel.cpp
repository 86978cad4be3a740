#include "orchestration/Orvel.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "framework/Timer.h"
#include "orchestration/MSDPipeline.h"
#include "orchestration/MtpPipeline.h"
#include "platform/common/Log.h"

namespace orvel {

namespace {

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
  const int id = ++lastOpId;
  std::unique_ptr<SongDirectoryPipeline> created = makePipeline(call.type);
  SongDirectoryPipeline* const pipeline = created.get();
  remember(call.mountPoint, pipeline->progress);
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
    pipeline->join();
    pipeline->progress->fail();
    delete pipeline;
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
    pipeline->join();
    delete pipeline;
    pipeline = nullptr;
  }
  if (superseded.empty()) return;
  OV_INFO("Erasing %x", addressOf(&superseded));
  for (const auto& entry : superseded) pipelines.erase(entry);
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
    pipeline->join();
    OV_INFO("Orvel delete pipeline: %x op id: %d", addressOf(pipeline), finished.id);
    delete pipeline;
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
  for (const auto& [request, pipeline] : pipelines) pipeline->join();
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
