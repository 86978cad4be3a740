#pragma once

#include <orvel/Orvel.h>

#include <QFileSystemWatcher>
#include <QTimer>
#include <deque>

#include "qml/DeviceModel.h"

namespace orvel::qml {

/// Folders that this process indexes itself, one after the other, and the devices that it has
/// indexed before. For programs without a service; one per process, because it chooses the settings
/// of the process's indexer. QML's thread only, whose event loop must be GLib's.
class LocalDevices : public DeviceModel {
  Q_OBJECT
  QML_ELEMENT
  /// Where the databases lie. Set it once, before the first folder.
  Q_PROPERTY(QString databaseDirectory READ databaseDirectory WRITE setDatabaseDirectory NOTIFY
                 databaseDirectoryChanged)

 public:
  explicit LocalDevices(QObject* parent = nullptr);
  /// Stops a request that is still alive.
  ~LocalDevices() override;

  void indexFolder(const QString& folder) override;
  void forget(const QString& deviceId) override;

  [[nodiscard]] QString databaseDirectory() const { return directory; }
  void setDatabaseDirectory(const QString& path);

 Q_SIGNALS:
  void databaseDirectoryChanged();

 protected:
  void prefer(const QString& deviceId) override;

 private:
  void listKnown();
  void startNext();
  /// Copies the progress of the running request to its device.
  void look();
  void finish(Device device);
  /// Finds out which folders are there.
  void checkFolders();

  QString directory;
  std::unique_ptr<Orvel> controller;
  std::deque<QString> waiting;  ///< ids
  QString running;              ///< id; empty when nothing is indexed
  unsigned storedRows = 0;      ///< of the running request at the last look
  QTimer pace;
  QFileSystemWatcher folders;
};

}  // namespace orvel::qml
