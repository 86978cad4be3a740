#include "orchestration/Requests.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/Log.h"
#include "base/Probes.h"
#include "base/StageThread.h"
#include "base/Timer.h"
#include "db/BusyHandler.h"
#include "orchestration/MSDPipeline.h"
#include "orchestration/MtpPipeline.h"

namespace orvel {

namespace {

/// How long a call waits for a pipeline to end. A healthy device takes a tenth of it.
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

/// Holds the table's lock for a scope and remembers which thread does.
class ORVEL_SCOPED_CAPABILITY Orvel::Requests::LockHolder {
 public:
  explicit LockHolder(Requests& locked) ORVEL_ACQUIRE(locked.lock) : requests(locked) {
    requests.lock.lock();
    requests.holder = pthread_self();
  }
  ~LockHolder() ORVEL_RELEASE() {
    requests.liveCount = requests.pipelines.size();
    requests.holder = 0;
    requests.lock.unlock();
  }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

 private:
  Requests& requests;
};

Orvel::Requests::~Requests() {
  const LockHolder held(*this);
  OV_INFO("Orvel::~Orvel");
  pipelines.clear();
  reap();
  // The threads of these still wait in the kernel and use them: they live as long as the process.
  for (auto& busy : leftBehind) static_cast<void>(busy.release());
}

// Touches `postponed` without locking where this thread is known to hold the lock.
void Orvel::Requests::accept(HostCall call) ORVEL_NO_THREAD_SAFETY_ANALYSIS {
  if (holder == pthread_self()) {
    postponed.push_back(std::move(call));
  } else if (stageThread::isCurrent()) {
    handOver(std::move(call));
  } else {
    serve(std::move(call));
  }
}

void Orvel::Requests::serve(HostCall call) {
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

void Orvel::Requests::handOver(HostCall call) {
  {
    const MutexLock guard(handedOverMutex);
    handedOver.push_back(std::move(call));
  }
  owner.enqueue(boost::make_shared<Block<void>>(Operation(kHandedOver, 0, "", "", false)));
}

void Orvel::Requests::serveHandedOver() {
  std::deque<HostCall> calls;
  {
    const MutexLock guard(handedOverMutex);
    calls.swap(handedOver);
  }
  for (HostCall& call : calls) serve(std::move(call));
}

void Orvel::Requests::carryOut(const HostCall& call) {
  const sqlstl::WaitLimit limit(sqlstl::kHostLockWait);
  try {
    switch (call.kind) {
      case HostCall::Kind::Start:
        start(call);
        break;
      case HostCall::Kind::Prioritize:
        prioritize(call);
        break;
      case HostCall::Kind::Stop:
        stop(call);
        break;
    }
  } catch (const std::exception& error) {
    // Nothing may be thrown through a slot of the host's main loop.
    OV_ERROR("%s: a call of the host failed: %s", owner.name, error.what());
  }
}

void Orvel::Requests::start(const HostCall& call) {
  OV_INFO("enqueueNewOperation %s type %d handle %u mp %s", call.deviceId.c_str(),
          static_cast<int>(call.type), call.handle, call.mountPoint.c_str());
  if (owner.stopping()) {
    OV_WARN("SYSTEM is Stopping cannot start it again %s", owner.name);
    return;
  }
  supersede(call);
  reap();
  std::unique_ptr<SongDirectoryPipeline> created = makePipeline(call.type);
  const auto progressOfNew = created->progress;
  remember(call.mountPoint, progressOfNew);
  try {
    if (leftBehind.size() >= kMostLeftBehind) {
      progressOfNew->leaveUndone(LeftUndone::Refused);
      throw std::runtime_error("too many requests wait for devices that do not answer");
    }
    enter(call, std::move(created));
  } catch (const std::exception&) {
    progressOfNew->fail();
    owner.listener->indexingFinished(call.mountPoint);
    throw;
  }
}

void Orvel::Requests::enter(const HostCall& call, std::unique_ptr<SongDirectoryPipeline> created) {
  OrvelOperation request;
  request.handle = call.handle;
  request.deviceId = call.deviceId;
  request.mountPoint = call.mountPoint;
  request.startTime = Timer::now();
  request.opId = ++lastOpId;
  probes::requestBegins(request.opId, request.mountPoint.c_str());
  const bool isFirst = pipelines.empty();
  const auto entry = pipelines.emplace(request, std::move(created)).first;
  SongDirectoryPipeline& pipeline = *entry->second;
  pipeline.launch();
  if (isFirst) {
    OV_INFO("START IT");
    pipeline.start();
  }
  OV_INFO("Orvel New Operation pipe: %x op id: %d", addressOf(&pipeline), request.opId);
  try {
    pipeline.enqueueNewOperation(request, call.isFirstPartition);
  } catch (const std::exception&) {
    // A pipeline without its root block would never end.
    pipeline.stop();
    awaitEnd(std::move(entry->second), patienceFromNow());
    pipelines.erase(entry);
    throw;
  }
}

std::unique_ptr<SongDirectoryPipeline> Orvel::Requests::makePipeline(OperationType type) const {
  if (type == OperationType::MassStorage) return std::make_unique<MSDPipeline>(&owner);
  return std::make_unique<MtpPipeline>(&owner);
}

bool Orvel::Requests::supersede(const HostCall& call) {
  std::vector<Pipelines::iterator> superseded;
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
            static_cast<int>(call.type), call.handle, call.mountPoint.c_str(),
            addressOf(pipeline.get()));
    superseded.push_back(entry);
    pipeline->stop();
    awaitEnd(std::move(pipeline), deadline);
  }
  if (superseded.empty()) return false;
  OV_INFO("Erasing %x", addressOf(&superseded));
  for (const auto& entry : superseded) pipelines.erase(entry);
  return true;
}

std::unique_ptr<SongDirectoryPipeline> Orvel::Requests::awaitEnd(
    std::unique_ptr<SongDirectoryPipeline> pipeline, Deadline deadline) {
  if (pipeline->hasEndedBy(deadline)) {
    pipeline->join();
    return pipeline;
  }
  OV_WARN("pipeline %x is left behind: its device does not answer", addressOf(pipeline.get()));
  pipeline->leaveBehind();
  leftBehind.push_back(std::move(pipeline));
  return nullptr;
}

void Orvel::Requests::reap() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(leftBehind, [&](const auto& pipeline) {
    if (!pipeline->hasEndedBy(now)) return false;
    pipeline->join();
    return true;
  });
}

void Orvel::Requests::prioritize(const HostCall& call) {
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

void Orvel::Requests::stop(const HostCall& call) {
  if (!supersede(call)) return;
  {
    const MutexLock guard(progressMutex);
    RequestProgress& stopped = *newestProgress.at(call.mountPoint);
    if (stopped.snapshot().phase != RequestPhase::Finished) {
      stopped.leaveUndone(LeftUndone::Interrupted);
      stopped.fail();
    }
  }
  startNext();
}

void Orvel::Requests::startNext() {
  if (pipelines.empty()) return;
  SongDirectoryPipeline& next = *pipelines.begin()->second;
  OV_INFO("queue is not empty: go on %x", addressOf(&next));
  next.start();
}

void Orvel::Requests::finish(const Operation& finished) {
  const LockHolder held(*this);
  if (owner.stopping()) {
    OV_WARN("Orvel is stopped  we not waiting for this pipeline %d", finished.id);
    return;
  }
  OV_INFO("Orvel finished operation %s hanlde %u mp %s opid: %d", finished.deviceId.c_str(),
          finished.handle, finished.mountPoint.c_str(), finished.id);
  // Found without building a key, which would allocate: a result must not get lost.
  const auto entry = std::find_if(pipelines.begin(), pipelines.end(), [&](const auto& candidate) {
    return candidate.first.opId == finished.id;
  });
  if (entry != pipelines.end()) {
    OV_INFO("Orvel END FOR for %x id: %d", addressOf(entry->second.get()), finished.id);
    entry->second->stop();
    if (const auto ended = awaitEnd(std::move(entry->second), patienceFromNow())) {
      OV_INFO("Orvel delete pipeline: %x op id: %d", addressOf(ended.get()), finished.id);
    }
    pipelines.erase(entry);
  }
  startNext();
}

// A receiver of `databaseExists` holds the lock already.
void Orvel::Requests::stopAll() ORVEL_NO_THREAD_SAFETY_ANALYSIS {
  std::optional<LockHolder> held;
  if (holder != pthread_self()) held.emplace(*this);
  for (const auto& [request, pipeline] : pipelines) {
    OV_INFO("Orvel stopping pipeline: %x ", addressOf(pipeline.get()));
    pipeline->stop();
  }
  owner.state = STOPPING;
}

void Orvel::Requests::joinAll() {
  const LockHolder held(*this);
  const Deadline deadline = patienceFromNow();
  for (auto entry = pipelines.begin(); entry != pipelines.end();) {
    entry->second = awaitEnd(std::move(entry->second), deadline);
    entry = entry->second == nullptr ? pipelines.erase(entry) : std::next(entry);
  }
  joined = true;
}

std::optional<ProgressSnapshot> Orvel::Requests::progressOf(const std::string& mountPoint) const {
  const MutexLock guard(progressMutex);
  const auto found = newestProgress.find(mountPoint);
  if (found == newestProgress.end()) return std::nullopt;
  return found->second->snapshot();
}

void Orvel::Requests::remember(const std::string& mountPoint,
                               std::shared_ptr<RequestProgress> newest) {
  const MutexLock guard(progressMutex);
  newestProgress[mountPoint] = std::move(newest);
}

}  // namespace orvel
