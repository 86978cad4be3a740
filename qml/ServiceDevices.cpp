#include "qml/ServiceDevices.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QTimer>

#include "qml/isolateReading.h"

namespace orvel::qml {

namespace {

const QString kService = QStringLiteral("org.orvel.Indexer1");
const QString kRoot = QStringLiteral("/org/orvel/Indexer1");
const QString kManager = QStringLiteral("org.orvel.Indexer1.Manager");
const QString kDevice = QStringLiteral("org.orvel.Indexer1.Device");
const QString kObjects = QStringLiteral("org.freedesktop.DBus.ObjectManager");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

using Objects = QMap<QDBusObjectPath, ServiceDevices::Interfaces>;

Device deviceFrom(const QVariantMap& properties) {
  const auto text = [&](const char* name) {
    return properties.value(QLatin1String(name)).toString();
  };
  const auto number = [&](const char* name) {
    return properties.value(QLatin1String(name)).toInt();
  };
  const QStringList partitions = properties.value(QStringLiteral("Partitions")).toStringList();
  Device device;
  device.id = text("Id");
  device.name = text("Name");
  device.kind = text("Kind");
  device.database = text("DatabasePath");
  device.mountPoint = partitions.value(0);
  device.isAttached = properties.value(QStringLiteral("Attached")).toBool();
  device.isLocked = properties.value(QStringLiteral("Locked")).toBool();
  device.state = text("State");
  device.problem = text("Problem");
  device.generation = properties.value(QStringLiteral("Generation")).toULongLong();
  device.songs = number("Songs");
  device.songsToRead = number("SongsToRead");
  device.songsRead = number("SongsRead");
  return device;
}

}  // namespace

ServiceDevices::ServiceDevices(QObject* parent)
    : DeviceModel(parent), bus(QDBusConnection::systemBus()) {
  isolateReading({});
  qDBusRegisterMetaType<Interfaces>();
  qDBusRegisterMetaType<Objects>();
  // Once the properties are set.
  QTimer::singleShot(0, this, &ServiceDevices::connectBus);
}

void ServiceDevices::setSession(bool wanted) {
  if (wanted == isSession) return;
  isSession = wanted;
  bus = isSession ? QDBusConnection::sessionBus() : QDBusConnection::systemBus();
  Q_EMIT sessionChanged();
}

void ServiceDevices::connectBus() {
  if (!bus.isConnected()) {
    setError(tr("There is no message bus (%1).").arg(bus.lastError().message()));
    return;
  }
  auto* const watcher = new QDBusServiceWatcher(
      kService, bus,
      QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration,
      this);
  connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &ServiceDevices::fetch);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
    removeAll();
    setError(tr("The service has ended. Start orvel.service."));
  });
  bus.connect(kService, kRoot, kObjects, QStringLiteral("InterfacesAdded"), this,
              SLOT(interfacesAdded(QDBusMessage)));
  bus.connect(kService, kRoot, kObjects, QStringLiteral("InterfacesRemoved"), this,
              SLOT(interfacesRemoved(QDBusMessage)));
  bus.connect(kService, QString(), kProperties, QStringLiteral("PropertiesChanged"), this,
              SLOT(propertiesChanged(QDBusMessage)));
  fetch();
}

void ServiceDevices::fetch() {
  const auto message = QDBusMessage::createMethodCall(kService, kRoot, kObjects,
                                                      QStringLiteral("GetManagedObjects"));
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<Objects> reply = *watcher;
    if (reply.isError()) {
      setError(tr("The service does not answer (%1). Install and start orvel-service.")
                   .arg(reply.error().message()));
      return;
    }
    setError({});
    const Objects found = reply.value();
    for (auto object = found.begin(); object != found.end(); ++object) {
      if (object->contains(kDevice)) update(object.key().path(), object->value(kDevice));
    }
  });
}

void ServiceDevices::interfacesAdded(const QDBusMessage& message) {
  const auto path = message.arguments().value(0).value<QDBusObjectPath>();
  const auto interfaces = qdbus_cast<Interfaces>(message.arguments().value(1));
  if (interfaces.contains(kDevice)) update(path.path(), interfaces.value(kDevice));
}

void ServiceDevices::interfacesRemoved(const QDBusMessage& message) {
  removeObject(message.arguments().value(0).value<QDBusObjectPath>().path());
}

void ServiceDevices::propertiesChanged(const QDBusMessage& message) {
  if (message.arguments().value(0).toString() != kDevice) return;
  update(message.path(), qdbus_cast<QVariantMap>(message.arguments().value(1)));
}

void ServiceDevices::update(const QString& path, const Properties& changed) {
  Properties& properties = objects[path];
  properties.insert(changed);
  put(deviceFrom(properties));
}

void ServiceDevices::removeObject(const QString& path) {
  remove(objects.take(path).value(QStringLiteral("Id")).toString());
}

void ServiceDevices::removeAll() {
  while (!objects.isEmpty()) removeObject(objects.firstKey());
}

QString ServiceDevices::pathOf(const QString& deviceId) const {
  for (auto object = objects.begin(); object != objects.end(); ++object) {
    if (object->value(QStringLiteral("Id")).toString() == deviceId) return object.key();
  }
  return QStringLiteral("/");
}

void ServiceDevices::indexFolder(const QString& folder) {
  call(QStringLiteral("Index"), {folder, QVariantMap()});
}

void ServiceDevices::forget(const QString& deviceId) {
  call(QStringLiteral("Forget"), {QVariant::fromValue(QDBusObjectPath(pathOf(deviceId)))});
}

void ServiceDevices::prefer(const QString& deviceId) {
  call(QStringLiteral("Prioritize"), {QVariant::fromValue(QDBusObjectPath(pathOf(deviceId)))});
}

void ServiceDevices::call(const QString& method, const QVariantList& arguments) {
  auto message = QDBusMessage::createMethodCall(kService, kRoot, kManager, method);
  message.setArguments(arguments);
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    setError(watcher->isError() ? watcher->error().message() : QString());
  });
}

}  // namespace orvel::qml
