#include "service/Indexing.h"

#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>
#include <orvel/OrvelQTProxy.h>

#include <algorithm>
#include <utility>

#include "base/GlibSource.h"

namespace orvel::service {

namespace {

using namespace std::chrono_literals;

/// People wait for the first song, and after that look at numbers now and then.
constexpr std::chrono::milliseconds kFirstSongPace = 50ms;
constexpr std::chrono::milliseconds kReadingPace = 1s;
/// Only the flush of the database remains.
constexpr std::chrono::milliseconds kFinishingPace = 5ms;
/// The indexer waits once for a phone, and only a report during that wait counts: repeat it.
constexpr std::chrono::milliseconds kPhonePace = 100ms;

}  // namespace

Indexing::Indexing(IndexingListener& told)
    : listener(told), progressTimer([this] { look(); }), phoneTimer([this] { attendPhone(); }) {
  connectFacade();
  controller.launch();
  controller.start();
  OrvelQTProxy::instance().setController(&controller);
}

Indexing::~Indexing() {
  controller.stop();
  controller.join();
  OrvelQTProxy::instance().setController(nullptr);
}

/// The signals come on threads of the indexer.
void Indexing::connectFacade() {
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  QObject::connect(
      &facade, &OrvelQTProxy::indexingFinished, &connections,
      [this](const QString& mountPoint) {
        post(nullptr, [this, text = mountPoint.toStdString()] { finished(text); });
      },
      Qt::DirectConnection);
  QObject::connect(
      &facade, &OrvelQTProxy::crawlingFinished, &connections,
      [this](const QString& mountPoint) {
        post(nullptr, [this, text = mountPoint.toStdString()] { found(text); });
      },
      Qt::DirectConnection);
  QObject::connect(
      &facade, &OrvelQTProxy::contentModified, &connections,
      [this](const QString&) { post(nullptr, [this] { look(); }); }, Qt::DirectConnection);
}

void Indexing::index(const IndexTarget& target) {
  dropJobs([&](const Job& job) { return job.target.deviceId == target.deviceId; });
  progress[target.deviceId] = {};
  for (const std::string& mountPoint : target.mountPoints) {
    addJob(target, mountPoint, mountPoint == target.mountPoints.front());
  }
  schedule();
}

void Indexing::indexPartition(const IndexTarget& target, const std::string& mountPoint) {
  addJob(target, mountPoint, false);
  schedule();
}

void Indexing::addJob(const IndexTarget& target, const std::string& mountPoint,
                      bool isFirstPartition) {
  jobs.push_back(
      {.target = target, .mountPoint = mountPoint, .isFirstPartition = isFirstPartition});
  progress[target.deviceId].partitions[mountPoint] = {};
}

void Indexing::stop(const std::string& deviceId) {
  if (firstJobOf(deviceId) == nullptr) return;
  dropJobs([&](const Job& job) { return job.target.deviceId == deviceId; });
  schedule();
  // A request gives its reasons for work left undone once it has stopped.
  control.post([this, deviceId] { post(nullptr, [this, deviceId] { stopped(deviceId); }); });
}

void Indexing::stopped(const std::string& deviceId) {
  const auto known = progress.find(deviceId);
  if (known == progress.end() || firstJobOf(deviceId) != nullptr) return;
  for (auto& [mountPoint, snapshot] : known->second.partitions) {
    // Another device may be mounted there by now.
    const bool isTaken =
        std::any_of(jobs.begin(), jobs.end(),
                    [&path = mountPoint](const Job& job) { return job.mountPoint == path; });
    if (!isTaken) snapshot = controller.progressOf(mountPoint).value_or(snapshot);
  }
  listener.indexingEnded(deviceId);
}

void Indexing::removePartition(const std::string& deviceId, const std::string& mountPoint) {
  const bool wasIdle = firstJobOf(deviceId) == nullptr;
  dropJobs([&](const Job& job) {
    return job.target.deviceId == deviceId && job.mountPoint == mountPoint;
  });
  if (const auto known = progress.find(deviceId); known != progress.end()) {
    known->second.partitions.erase(mountPoint);
  }
  schedule();
  if (!wasIdle && firstJobOf(deviceId) == nullptr) listener.indexingEnded(deviceId);
}

void Indexing::forget(const std::string& deviceId) {
  remove(deviceId);
  progress.erase(deviceId);
}

void Indexing::remove(const std::string& deviceId) {
  for (const Job& job : jobs) {
    if (job.target.deviceId != deviceId || job.target.type != OperationType::Mtp) continue;
    MtpDevice::instance().disconnectDevice(job.target.handle);
  }
  stop(deviceId);
}

void Indexing::select(const std::string& deviceId) {
  selected = deviceId;
  schedule();
}

void Indexing::setPaused(bool wanted) {
  paused = wanted;
  schedule();
}

IndexState Indexing::stateOf(const std::string& deviceId) const {
  IndexState state;
  const auto known = progress.find(deviceId);
  if (known == progress.end()) return state;
  for (const auto& [mountPoint, snapshot] : known->second.partitions) {
    state.partitions.push_back(snapshot);
  }
  const Job* const job = firstJobOf(deviceId);
  if (job == nullptr) {
    state.phase = known->second.hasFailed ? IndexState::Phase::Failed : IndexState::Phase::Idle;
  } else if (job->isFinishing) {
    state.phase = IndexState::Phase::Finishing;
  } else if (paused) {
    state.phase = IndexState::Phase::Paused;
  } else if (job != running) {
    state.phase = IndexState::Phase::Waiting;
  } else {
    const RequestPhase phase = known->second.partitions.at(job->mountPoint).phase;
    state.phase = phase == RequestPhase::Indexing || phase == RequestPhase::Finished
                      ? IndexState::Phase::Reading
                      : IndexState::Phase::Searching;
  }
  return state;
}

Indexing::Job* Indexing::wantedJob() {
  if (paused || jobs.empty()) return nullptr;
  const auto preferred = std::find_if(
      jobs.begin(), jobs.end(), [this](const Job& job) { return job.target.deviceId == selected; });
  return preferred == jobs.end() ? &jobs.front() : &*preferred;
}

void Indexing::schedule() {
  // A request that is as good as over is let go.
  if (running != nullptr && running->isFinishing) return;
  Job* const wanted = wantedJob();
  if (wanted != running) {
    if (running != nullptr) interrupt(*running);
    running = wanted;
    if (running != nullptr) start(*running);
  }
  setPace();
  for (const auto& [deviceId, known] : progress) listener.indexingProgressed(deviceId);
}

void Indexing::start(Job& job) {
  call([this, target = job.target, mountPoint = job.mountPoint, isFirst = job.isFirstPartition] {
    if (target.type == OperationType::Mtp) setDeviceId(target.handle, target.deviceId);
    controller.enqueueNewOperation(target.type, target.deviceId, target.handle, mountPoint,
                                   isFirst);
  });
  // The attachment has begun with it, should the request be interrupted.
  job.isFirstPartition = false;
}

void Indexing::call(WorkThread::Job controllerCall) {
  ++callsUnderWay;
  control.post([this, controllerCall = std::move(controllerCall)] {
    controllerCall();
    --callsUnderWay;
  });
}

void Indexing::interrupt(const Job& job) {
  call([this, target = job.target, mountPoint = job.mountPoint] {
    controller.stopOperation(target.type, target.deviceId, target.handle, mountPoint);
  });
}

void Indexing::dropJobs(const std::function<bool(const Job&)>& areOver) {
  if (running != nullptr && areOver(*running)) {
    interrupt(*running);
    running = nullptr;
  }
  std::erase_if(jobs, areOver);
}

void Indexing::found(const std::string& mountPoint) {
  if (running == nullptr || running->mountPoint != mountPoint) return;
  const std::string deviceId = running->target.deviceId;
  look();
  listener.listIsReady(deviceId);
}

/// May be told late by a request that another one has superseded; the new one has no status yet.
void Indexing::finished(const std::string& mountPoint) {
  if (running == nullptr || running->mountPoint != mountPoint) return;
  const auto snapshot = controller.progressOf(mountPoint);
  if (!snapshot || snapshot->status.empty()) return;
  running->isFinishing = true;
  look();
}

void Indexing::look() {
  if (running == nullptr || callsUnderWay != 0) return;
  // Asked first: once the request is gone its snapshot is final.
  const bool isGone = controller.liveRequests() == 0;
  const std::string deviceId = running->target.deviceId;
  Progress& known = progress[deviceId];
  ProgressSnapshot& snapshot = known.partitions[running->mountPoint];
  snapshot = controller.progressOf(running->mountPoint).value_or(ProgressSnapshot{});
  if (snapshot.folderTreeSeconds && !running->hasFolders) {
    running->hasFolders = true;
    listener.foldersAreComplete(deviceId);
  }
  const bool hasFailed = snapshot.phase == RequestPhase::Failed;
  known.hasFailed |= hasFailed;
  listener.indexingProgressed(deviceId);
  // A failed request ends only when it is told to.
  if (hasFailed) interrupt(*running);
  if (hasFailed || (isGone && snapshot.phase == RequestPhase::Finished)) {
    endRunning();
  } else {
    setPace();
  }
}

void Indexing::endRunning() {
  const std::string deviceId = running->target.deviceId;
  jobs.remove_if([this](const Job& job) { return &job == running; });
  running = nullptr;
  schedule();
  if (firstJobOf(deviceId) == nullptr) listener.indexingEnded(deviceId);
}

void Indexing::setPace() {
  if (running == nullptr) {
    progressTimer.stop();
    phoneTimer.stop();
    return;
  }
  const auto& partitions = progress[running->target.deviceId].partitions;
  const auto known = partitions.find(running->mountPoint);
  const bool hasSongs = known != partitions.end() && known->second.firstSongSeconds;
  progressTimer.run(running->isFinishing ? kFinishingPace
                                         : (hasSongs ? kReadingPace : kFirstSongPace));
  if (running->target.type == OperationType::Mtp) {
    phoneTimer.run(kPhonePace);
  } else {
    phoneTimer.stop();
  }
}

void Indexing::attendPhone() {
  const t_device_handle handle = running->target.handle;
  if (isAttached(handle)) MtpDevice::instance().setDeviceReady(handle);
}

const Indexing::Job* Indexing::firstJobOf(const std::string& deviceId) const {
  const auto found = std::find_if(jobs.begin(), jobs.end(),
                                  [&](const Job& job) { return job.target.deviceId == deviceId; });
  return found == jobs.end() ? nullptr : &*found;
}

}  // namespace orvel::service
