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
    : listener(told), progressTimer([this] { look(); }), phoneTimer([this] { attendPhones(); }) {
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
  // The controller is about to run the next of its requests by itself.
  if (std::any_of(jobs.begin(), jobs.end(), [](const Job& job) { return job.isFinishing; })) return;
  Job* const wanted = wantedJob();
  if (wanted != nullptr && !wanted->isLive) start(*wanted);
  running = wanted;
  if (liveJobs() > 0) prefer(wanted);
  setPace();
  for (const auto& [deviceId, known] : progress) listener.indexingProgressed(deviceId);
}

void Indexing::start(Job& job) {
  job.isLive = true;
  call([this, target = job.target, mountPoint = job.mountPoint, isFirst = job.isFirstPartition] {
    if (target.type == OperationType::Mtp) setDeviceId(target.handle, target.deviceId);
    controller.enqueueNewOperation(target.type, target.deviceId, target.handle, mountPoint,
                                   isFirst);
  });
}

void Indexing::prefer(const Job* job) {
  // No request has an empty device id.
  const IndexTarget target = job == nullptr ? IndexTarget{} : job->target;
  const std::string mountPoint = job == nullptr ? "" : job->mountPoint;
  call([this, target, mountPoint] {
    controller.prioritizeOperation(target.type, target.deviceId, target.handle, mountPoint);
  });
}

void Indexing::call(WorkThread::Job controllerCall) {
  ++callsUnderWay;
  control.post([this, controllerCall = std::move(controllerCall)] {
    controllerCall();
    --callsUnderWay;
  });
}

void Indexing::stopRequest(const Job& job) {
  call([this, target = job.target, mountPoint = job.mountPoint] {
    controller.stopOperation(target.type, target.deviceId, target.handle, mountPoint);
  });
}

void Indexing::dropJobs(const std::function<bool(const Job&)>& areOver) {
  std::erase_if(jobs, [&](const Job& job) {
    if (!areOver(job)) return false;
    if (job.isLive) stopRequest(job);
    if (running == &job) running = nullptr;
    return true;
  });
}

void Indexing::found(const std::string& mountPoint) {
  if (const Job* const job = liveJobAt(mountPoint)) {
    const std::string deviceId = job->target.deviceId;
    look();
    listener.listIsReady(deviceId);
  }
}

/// May be told late by a request that another one has superseded.
void Indexing::finished(const std::string& mountPoint) {
  Job* const job = liveJobAt(mountPoint);
  const auto snapshot = controller.progressOf(mountPoint);
  if (job == nullptr || !snapshot) return;
  if (snapshot->phase == RequestPhase::Finished) job->isFinishing = true;
  look();
}

void Indexing::look() {
  for (Job& job : jobs) {
    if (job.isLive) lookAt(job);
  }
  endJobs();
  setPace();
}

void Indexing::lookAt(Job& job) {
  // Asked first: once the request is gone its snapshot is final.
  const bool isGone = callsUnderWay == 0 && controller.liveRequests() < liveJobs();
  const std::string deviceId = job.target.deviceId;
  Progress& known = progress[deviceId];
  ProgressSnapshot& snapshot = known.partitions[job.mountPoint];
  snapshot = controller.progressOf(job.mountPoint).value_or(ProgressSnapshot{});
  if (snapshot.folderTreeSeconds && !job.hasFolders) {
    job.hasFolders = true;
    listener.foldersAreComplete(deviceId);
  }
  if (snapshot.phase == RequestPhase::Failed) {
    // Such a request ends only when it is told to.
    known.hasFailed = true;
    stopRequest(job);
    job.isOver = true;
  } else if (isGone && snapshot.phase == RequestPhase::Finished) {
    job.isOver = true;
  }
  listener.indexingProgressed(deviceId);
}

void Indexing::endJobs() {
  std::vector<std::string> ended;
  std::erase_if(jobs, [&](const Job& job) {
    if (!job.isOver) return false;
    if (running == &job) running = nullptr;
    ended.push_back(job.target.deviceId);
    return true;
  });
  if (ended.empty()) return;
  schedule();
  for (const std::string& deviceId : ended) {
    if (firstJobOf(deviceId) == nullptr) listener.indexingEnded(deviceId);
  }
}

void Indexing::setPace() {
  const bool isFinishing =
      std::any_of(jobs.begin(), jobs.end(), [](const Job& job) { return job.isFinishing; });
  if (isFinishing) {
    progressTimer.run(kFinishingPace);
  } else if (running == nullptr) {
    progressTimer.stop();
  } else {
    const ProgressSnapshot& snapshot =
        progress[running->target.deviceId].partitions[running->mountPoint];
    progressTimer.run(snapshot.firstSongSeconds ? kReadingPace : kFirstSongPace);
  }
  const bool hasPhone = std::any_of(jobs.begin(), jobs.end(), [](const Job& job) {
    return job.isLive && job.target.type == OperationType::Mtp;
  });
  if (hasPhone) {
    phoneTimer.run(kPhonePace);
  } else {
    phoneTimer.stop();
  }
}

void Indexing::attendPhones() {
  for (const Job& job : jobs) {
    if (!job.isLive || job.target.type != OperationType::Mtp) continue;
    if (isAttached(job.target.handle)) MtpDevice::instance().setDeviceReady(job.target.handle);
  }
}

Indexing::Job* Indexing::liveJobAt(const std::string& mountPoint) {
  const auto found = std::find_if(jobs.begin(), jobs.end(), [&](const Job& job) {
    return job.isLive && job.mountPoint == mountPoint;
  });
  return found == jobs.end() ? nullptr : &*found;
}

const Indexing::Job* Indexing::firstJobOf(const std::string& deviceId) const {
  const auto found = std::find_if(jobs.begin(), jobs.end(),
                                  [&](const Job& job) { return job.target.deviceId == deviceId; });
  return found == jobs.end() ? nullptr : &*found;
}

std::size_t Indexing::liveJobs() const {
  return static_cast<std::size_t>(
      std::count_if(jobs.begin(), jobs.end(), [](const Job& job) { return job.isLive; }));
}

}  // namespace orvel::service
