#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QVariantMap>

#include "qml/DeviceModel.h"

namespace orvel::qml {

/// The devices of the service `org.orvel.Indexer1`. Their music is read from the databases that it
/// names, which the user must be allowed to open. Starts the service where the bus can. QML's
/// thread only.
class ServiceDevices : public DeviceModel {
  Q_OBJECT
  QML_ELEMENT
  /// Which bus: false for the system's, true for the session's.
  Q_PROPERTY(bool session READ session WRITE setSession NOTIFY sessionChanged)

 public:
  using Properties = QVariantMap;
  using Interfaces = QMap<QString, Properties>;

  explicit ServiceDevices(QObject* parent = nullptr);

  void indexFolder(const QString& folder) override;
  void forget(const QString& deviceId) override;

  [[nodiscard]] bool session() const { return isSession; }
  void setSession(bool wanted);

 Q_SIGNALS:
  void sessionChanged();

 protected:
  void prefer(const QString& deviceId) override;

 private Q_SLOTS:
  void interfacesAdded(const QDBusMessage& message);
  void interfacesRemoved(const QDBusMessage& message);
  void propertiesChanged(const QDBusMessage& message);

 private:
  void connectBus();
  /// Asks for all devices.
  void fetch();
  void update(const QString& path, const Properties& changed);
  void removeObject(const QString& path);
  void removeAll();
  void call(const QString& method, const QVariantList& arguments);
  [[nodiscard]] QString pathOf(const QString& deviceId) const;

  bool isSession = false;
  QDBusConnection bus;
  QMap<QString, Properties> objects;  ///< by path
};

}  // namespace orvel::qml

Q_DECLARE_METATYPE(orvel::qml::ServiceDevices::Interfaces)
