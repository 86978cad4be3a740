#pragma once

#include <QtQml/qqmlregistration.h>
#include <QAbstractListModel>
#include <QStringList>
#include <QVariantMap>
#include <vector>

namespace orvel::qml {

/// A stick, a phone or a folder as screens show it.
struct Device {
  QString id;
  QString name;
  QString kind;  ///< "stick", "phone" or "folder"
  QString database;
  QString mountPoint;
  bool isAttached = false;
  bool isLocked = false;
  /// "idle", "waiting", "paused", "searching", "reading", "finishing" or "failed".
  QString state = QStringLiteral("idle");
  QString problem;  ///< for people
  qulonglong generation = 0;
  int songs = 0;
  int songsToRead = 0;  ///< by the current or last run
  int songsRead = 0;

  bool operator==(const Device& other) const = default;
};

/// The devices that a screen offers, attached or known. QML's thread only.
class DeviceModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("Use LocalDevices or ServiceDevices")
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  /// The id of the selected device, which is indexed before all others; empty for none.
  Q_PROPERTY(QString current READ current WRITE setCurrent NOTIFY currentChanged)
  /// The values of the selected device by the names of the roles; empty when there is none.
  Q_PROPERTY(QVariantMap currentDevice READ currentDevice NOTIFY currentDeviceChanged)
  /// Why there are no devices, with the remedy; else empty.
  Q_PROPERTY(QString error READ error NOTIFY errorChanged)

 public:
  using QAbstractListModel::QAbstractListModel;

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

  /// The values of a row by the names of the roles.
  Q_INVOKABLE QVariantMap get(int row) const;
  /// Indexes a folder, now or again.
  Q_INVOKABLE virtual void indexFolder(const QString& folder) = 0;
  /// Deletes the database of a device.
  Q_INVOKABLE virtual void forget(const QString& deviceId) = 0;

  [[nodiscard]] int count() const { return static_cast<int>(devices.size()); }
  [[nodiscard]] QString current() const { return selected; }
  void setCurrent(const QString& deviceId);
  [[nodiscard]] QVariantMap currentDevice() const;
  [[nodiscard]] QString error() const { return problem; }

 Q_SIGNALS:
  void countChanged();
  void currentChanged();
  void currentDeviceChanged();
  void errorChanged();

 protected:
  /// Called when another device was selected.
  virtual void prefer(const QString& deviceId) = 0;

  /// The device with this id; null when there is none.
  [[nodiscard]] const Device* find(const QString& deviceId) const;
  /// Adds the device, or replaces the one with the same id.
  void put(const Device& device);
  void remove(const QString& deviceId);
  void setError(const QString& text);

 private:
  [[nodiscard]] int rowOf(const QString& deviceId) const;

  std::vector<Device> devices;
  QString selected;
  QString problem;
};

}  // namespace orvel::qml
