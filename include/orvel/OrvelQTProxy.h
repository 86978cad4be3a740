#pragma once

#include <orvel/DeviceHandle.h>
#include <orvel/Export.h>

#include <QObject>
#include <QString>

namespace orvel {
class Orvel;
}

/// The host's only entry into the indexer: slots that start and prioritise indexing, signals that
/// report progress. One instance per process.
///
/// The host attaches a launched and started controller before it calls any slot, and touches
/// `instance()` first on its main thread, where queued calls are delivered. Signals are emitted on
/// the indexer's threads (`databaseExists` inside the starting slot); receivers with a context of
/// their own get them queued on their thread. Strings cross as UTF-8.
///
/// `indexingFinished` of a superseded request may still arrive after the new request was made.
/// `crawlingFinished` is not guaranteed for a request that was paused. `indexingFinished` always
/// comes, provided that the request is started again after a pause, is neither superseded nor
/// stopped, and its database can be opened at the end.
class ORVEL_EXPORT OrvelQTProxy : public QObject {
  Q_OBJECT

 public:
  static OrvelQTProxy& instance();

  explicit OrvelQTProxy(QObject* parent);
  ~OrvelQTProxy() override;

  /// Attaches the controller, which stays the host's; null detaches it.
  void setController(orvel::Orvel* attached);

 Q_SIGNALS:
  /// All songs, playlists and folders of the device have been found.
  void crawlingFinished(QString mountPoint);
  /// The request is finished and its status is stored.
  void indexingFinished(QString mountPoint);
  /// Rows of the database change or have changed; may come several times.
  void contentModified(QString mountPoint);
  /// A complete database of this device and mount point exists already.
  void databaseExists(QString deviceId, QString mountPoint);

 public Q_SLOTS:
  /// Indexes the mass-storage device mounted at `mount_point`. `isFirstPartition` begins a new
  /// attach of the device; its further partitions follow with false.
  void startIndexing(const QString& device_id, const QString& mount_point, bool isFirstPartition);
  /// Indexes the MTP device of `handle`. `setDeviceReady` must follow.
  void startMtpIndexing(const QString& device_id, t_device_handle handle, bool isFirstPartition);
  /// Tells that the MTP device can be read.
  void setDeviceReady(t_device_handle handle);
  /// Always 0; `orvel::Orvel::progressOf` tells how far a request is.
  int indexingProgress(const QString& mount_point);
  /// Runs the requests of this device and mount point and parks all others.
  void prioritizeMsdDevice(const QString& device_id, const QString& mount_point);
  void prioritizeMtpDevice(const QString& device_id, t_device_handle handle);

 private:
  orvel::Orvel* controller = nullptr;
};
