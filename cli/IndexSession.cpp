#include "cli/IndexSession.h"

#include <QObject>

#include <orvel/OrvelQTProxy.h>

namespace orvel::cli {

namespace {

constexpr int kProgressMs = 50;
/// After `indexingFinished` only the flush of the database remains, so poll quickly.
constexpr int kEndMs = 1;
constexpr int kAttendMs = 100;

}  // namespace

IndexSession::IndexSession(IndexSource& device, IndexResult& runResult, ProgressLine& progressLine)
    : source(device), result(runResult), line(progressLine) {
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  controller.launch();
  controller.start();
  facade.setController(&controller);
  QObject::connect(&facade, &OrvelQTProxy::indexingFinished, &loop,
                   [this] { endTimer.start(kEndMs); });
  QObject::connect(&progressTimer, &QTimer::timeout, &loop, [this] { look(); });
  QObject::connect(&endTimer, &QTimer::timeout, &loop, [this] { look(); });
  QObject::connect(&attendTimer, &QTimer::timeout, &loop, [this] { attend(); });
}

IndexSession::~IndexSession() {
  shutDown();
}

void IndexSession::run() {
  begin(0);
  progressTimer.start(kProgressMs);
  attendTimer.start(kAttendMs);
  loop.exec();
  shutDown();
  explainRest();
}

void IndexSession::begin(std::size_t index) {
  current = index;
  begunAfter = std::chrono::duration<double>(Clock::now() - started).count();
  line.begin(partition().mountPoint);
  source.start(result.deviceId, partition().mountPoint, index == 0);
}

/// Shows the progress, and finishes the partition when its request has ended.
void IndexSession::look() {
  if (isDown) return;
  // Asked first: once the request is gone its snapshot is final.
  const bool isGone = controller.liveRequests() == 0;
  const ProgressSnapshot snapshot =
      controller.progressOf(partition().mountPoint).value_or(ProgressSnapshot{});
  line.show(snapshot);
  if (isGone || snapshot.phase == RequestPhase::Failed) finishPartition(snapshot);
}

void IndexSession::attend() {
  if (!isDown && controller.liveRequests() != 0) source.attend();
}

void IndexSession::finishPartition(const ProgressSnapshot& snapshot) {
  endTimer.stop();
  takeSnapshot(snapshot);
  if (snapshot.phase != RequestPhase::Finished) {
    result.error = "The database " + result.database +
                   " cannot be opened. Check that it may be written, remove it, or name another"
                   " folder with --db-dir.";
    loop.quit();
  } else if (current + 1 < result.partitions.size()) {
    begin(current + 1);
  } else {
    loop.quit();
  }
}

void IndexSession::takeSnapshot(const ProgressSnapshot& snapshot) {
  partition().progress = snapshot;
  partition().leftUndone = snapshot.leftUndone;
  if (snapshot.firstSongSeconds && !result.firstSongSeconds) {
    result.firstSongSeconds = begunAfter + *snapshot.firstSongSeconds;
  }
}

void IndexSession::interrupt() {
  if (isDown) return;
  shutDown();
  if (const auto snapshot = controller.progressOf(partition().mountPoint)) takeSnapshot(*snapshot);
  loop.quit();
}

/// Gives a reason to each partition that was not indexed to its end.
void IndexSession::explainRest() {
  for (std::size_t i = current; i < result.partitions.size(); ++i) {
    PartitionResult& rest = result.partitions[i];
    if (rest.ok() || !rest.leftUndone.empty()) continue;
    rest.leftUndone.emplace_back(i == current ? "indexing did not come to its end"
                                              : "indexing was not begun");
  }
}

void IndexSession::shutDown() {
  if (isDown) return;
  isDown = true;
  progressTimer.stop();
  endTimer.stop();
  attendTimer.stop();
  controller.stop();
  controller.join();
  OrvelQTProxy::instance().setController(nullptr);
}

}  // namespace orvel::cli
