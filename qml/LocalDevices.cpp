#include "qml/LocalDevices.h"

#include <orvel/DatabaseMgr.h>
#include <orvel/OrvelQTProxy.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "browse/MediaDatabase.h"
#include "host/DeviceId.h"
#include "host/obstacleToReading.h"
#include "qml/isolateReading.h"

namespace orvel::qml {

namespace {

constexpr int kPaceMs = 100;

QString stateOf(const ProgressSnapshot& snapshot) {
  switch (snapshot.phase) {
    case RequestPhase::Waiting:
      return QStringLiteral("waiting");
    case RequestPhase::Crawling:
      return QStringLiteral("searching");
    case RequestPhase::Indexing:
      return QStringLiteral("reading");
    default:
      return QStringLiteral("finishing");
  }
}

QString nameOf(const QString& folder) {
  const QString name = QFileInfo(folder).fileName();
  return name.isEmpty() ? folder : name;
}

bool isThere(const QString& folder) {
  return host::obstacleToReading(folder.toStdString()).empty();
}

}  // namespace

LocalDevices::LocalDevices(QObject* parent) : DeviceModel(parent) {
  connect(&pace, &QTimer::timeout, this, &LocalDevices::look);
  connect(&folders, &QFileSystemWatcher::directoryChanged, this, &LocalDevices::checkFolders);
}

LocalDevices::~LocalDevices() {
  if (!controller) return;
  controller->stop();
  controller->join();
  OrvelQTProxy::instance().setController(nullptr);
}

void LocalDevices::setDatabaseDirectory(const QString& path) {
  if (path == directory) return;
  directory = path;
  isolateReading(path.toStdString());
  listKnown();
  Q_EMIT databaseDirectoryChanged();
}

void LocalDevices::listKnown() {
  try {
    for (const std::string& file : browse::databasesIn(directory.toStdString())) {
      try {
        const browse::MediaDatabase database(file);
        const auto partitions = database.partitions();
        if (partitions.empty()) continue;
        Device device;
        device.id = QString::fromStdString(database.deviceId());
        device.mountPoint = QString::fromStdString(partitions.front().mountPoint);
        device.name = nameOf(device.mountPoint);
        device.kind = QStringLiteral("folder");
        device.database = QString::fromStdString(file);
        device.isAttached = isThere(device.mountPoint);
        device.songs = static_cast<int>(database.totals().songs);
        put(device);
      } catch (const browse::DatabaseError&) {
        // Shown once its device is indexed again, which replaces it.
      }
    }
    setError({});
  } catch (const browse::DatabaseError& error) {
    setError(QString::fromUtf8(error.what()));
  }
}

void LocalDevices::indexFolder(const QString& folder) {
  const QString mountPoint = QDir(folder).absolutePath();
  const QString id = QString::fromStdString(host::defaultDeviceId(mountPoint.toStdString()));
  const Device* const known = find(id);
  Device device = known == nullptr ? Device{} : *known;
  device.id = id;
  device.mountPoint = mountPoint;
  device.name = nameOf(mountPoint);
  device.kind = QStringLiteral("folder");
  device.database =
      QString::fromStdString(DatabaseMgr::instance().getDbNameFromDevId(id.toStdString()));
  device.problem = QString::fromStdString(host::obstacleToReading(mountPoint.toStdString()));
  device.isAttached = device.problem.isEmpty();
  device.state = device.isAttached ? QStringLiteral("waiting") : QStringLiteral("failed");
  put(device);
  if (!device.isAttached) return;
  // The folder above tells when this one comes back.
  folders.addPaths({mountPoint, QFileInfo(mountPoint).path()});
  if (running == id || std::find(waiting.begin(), waiting.end(), id) != waiting.end()) return;
  waiting.push_back(id);
  startNext();
}

void LocalDevices::forget(const QString& deviceId) {
  const Device* const known = find(deviceId);
  if (known == nullptr || running == deviceId) return;
  std::erase(waiting, deviceId);
  for (const char* ending : {"", "-wal", "-shm"}) {
    QFile::remove(known->database + QLatin1String(ending));
  }
  remove(deviceId);
}

void LocalDevices::prefer(const QString& deviceId) {
  const auto place = std::find(waiting.begin(), waiting.end(), deviceId);
  if (place != waiting.end()) std::rotate(waiting.begin(), place, place + 1);
}

void LocalDevices::startNext() {
  if (!running.isEmpty() || waiting.empty()) return;
  running = waiting.front();
  waiting.pop_front();
  storedRows = 0;
  OrvelQTProxy& facade = OrvelQTProxy::instance();
  if (!controller) {
    controller = std::make_unique<Orvel>();
    controller->launch();
    controller->start();
    facade.setController(controller.get());
  }
  facade.startIndexing(running, find(running)->mountPoint, true);
  pace.start(kPaceMs);
}

void LocalDevices::look() {
  // Asked first: once the request is gone its snapshot is final.
  const bool isGone = controller->liveRequests() == 0;
  Device device = *find(running);
  const auto snapshot =
      controller->progressOf(device.mountPoint.toStdString()).value_or(ProgressSnapshot{});
  const unsigned stored =
      snapshot.songs.stored + snapshot.playlists.stored + snapshot.directories.stored;
  if (stored != storedRows) ++device.generation;
  storedRows = stored;
  device.state = stateOf(snapshot);
  device.songsToRead = static_cast<int>(snapshot.songs.added);
  device.songsRead = static_cast<int>(snapshot.songs.stored + snapshot.songs.skipped);
  device.songs = static_cast<int>(snapshot.songs.unchanged + snapshot.songs.stored);
  if (!isGone && snapshot.phase != RequestPhase::Failed) {
    put(device);
    return;
  }
  device.state = QStringLiteral("idle");
  device.problem =
      snapshot.leftUndone.empty() ? QString() : QString::fromStdString(snapshot.leftUndone.front());
  if (snapshot.phase == RequestPhase::Failed) {
    device.state = QStringLiteral("failed");
    device.problem = tr("The database %1 cannot be written.").arg(device.database);
    // A failed request ends only when it is told to.
    controller->stopOperation(OperationType::MassStorage, running.toStdString(), 0,
                              device.mountPoint.toStdString());
  }
  finish(device);
}

void LocalDevices::finish(Device device) {
  pace.stop();
  ++device.generation;
  device.isAttached = isThere(device.mountPoint);
  put(device);
  running.clear();
  startNext();
}

void LocalDevices::checkFolders() {
  for (int row = 0; row < count(); ++row) {
    Device device = *find(get(row).value(QStringLiteral("deviceId")).toString());
    const bool isAttached = isThere(device.mountPoint);
    if (isAttached == device.isAttached) continue;
    device.isAttached = isAttached;
    put(device);
    // Whatever is there now may differ.
    if (isAttached) indexFolder(device.mountPoint);
  }
}

}  // namespace orvel::qml
