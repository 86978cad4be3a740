#include "qml/DeviceModel.h"

#include <algorithm>
#include <array>
#include <functional>

namespace orvel::qml {

namespace {

/// A role: its name, and the value of a device.
struct DeviceRole {
  const char* name;
  QVariant (*value)(const Device& device);
};

/// Between 0 and 1; -1 while nobody knows how much there is to do.
double progressOf(const Device& device) {
  if (device.state == QLatin1String("reading") && device.songsToRead > 0) {
    return std::min(1.0, double(device.songsRead) / device.songsToRead);
  }
  return device.state == QLatin1String("idle") ? 1.0 : -1.0;
}

bool isBusy(const Device& device) {
  return device.state != QLatin1String("idle") && device.state != QLatin1String("failed");
}

constexpr std::array kRoles = {
    DeviceRole{"deviceId", [](const Device& device) { return QVariant(device.id); }},
    DeviceRole{"name", [](const Device& device) { return QVariant(device.name); }},
    DeviceRole{"kind", [](const Device& device) { return QVariant(device.kind); }},
    DeviceRole{"database", [](const Device& device) { return QVariant(device.database); }},
    DeviceRole{"mountPoint", [](const Device& device) { return QVariant(device.mountPoint); }},
    DeviceRole{"attached", [](const Device& device) { return QVariant(device.isAttached); }},
    DeviceRole{"locked", [](const Device& device) { return QVariant(device.isLocked); }},
    DeviceRole{"state", [](const Device& device) { return QVariant(device.state); }},
    DeviceRole{"busy", [](const Device& device) { return QVariant(isBusy(device)); }},
    DeviceRole{"progress", [](const Device& device) { return QVariant(progressOf(device)); }},
    DeviceRole{"problem", [](const Device& device) { return QVariant(device.problem); }},
    DeviceRole{"generation", [](const Device& device) { return QVariant(device.generation); }},
    DeviceRole{"songs", [](const Device& device) { return QVariant(device.songs); }},
    DeviceRole{"songsToRead", [](const Device& device) { return QVariant(device.songsToRead); }},
    DeviceRole{"songsRead", [](const Device& device) { return QVariant(device.songsRead); }},
};

constexpr int kFirstRole = Qt::UserRole + 1;

QVariantMap valuesOf(const Device& device) {
  QVariantMap values;
  for (const DeviceRole& role : kRoles) {
    values.insert(QString::fromLatin1(role.name), role.value(device));
  }
  return values;
}

}  // namespace

int DeviceModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QVariant DeviceModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid)) return {};
  const Device& device = devices[static_cast<std::size_t>(index.row())];
  if (role == Qt::DisplayRole) return device.name;
  const auto number = static_cast<std::size_t>(role - kFirstRole);
  return number < kRoles.size() ? kRoles[number].value(device) : QVariant();
}

QHash<int, QByteArray> DeviceModel::roleNames() const {
  QHash<int, QByteArray> names;
  for (std::size_t i = 0; i < kRoles.size(); ++i) {
    names.insert(kFirstRole + static_cast<int>(i), kRoles[i].name);
  }
  return names;
}

QVariantMap DeviceModel::get(int row) const {
  if (row < 0 || row >= count()) return {};
  return valuesOf(devices[static_cast<std::size_t>(row)]);
}

void DeviceModel::setCurrent(const QString& deviceId) {
  if (deviceId == selected) return;
  selected = deviceId;
  prefer(deviceId);
  Q_EMIT currentChanged();
  Q_EMIT currentDeviceChanged();
}

QVariantMap DeviceModel::currentDevice() const {
  return get(rowOf(selected));
}

const Device* DeviceModel::find(const QString& deviceId) const {
  const int row = rowOf(deviceId);
  return row < 0 ? nullptr : &devices[static_cast<std::size_t>(row)];
}

void DeviceModel::put(const Device& device) {
  const int row = rowOf(device.id);
  if (row < 0) {
    beginInsertRows({}, count(), count());
    devices.push_back(device);
    endInsertRows();
    Q_EMIT countChanged();
  } else {
    Device& known = devices[static_cast<std::size_t>(row)];
    if (known == device) return;
    known = device;
    const QModelIndex changed = index(row);
    Q_EMIT dataChanged(changed, changed);
  }
  if (device.id == selected) Q_EMIT currentDeviceChanged();
}

void DeviceModel::remove(const QString& deviceId) {
  const int row = rowOf(deviceId);
  if (row < 0) return;
  beginRemoveRows({}, row, row);
  devices.erase(devices.begin() + row);
  endRemoveRows();
  Q_EMIT countChanged();
  if (deviceId == selected) Q_EMIT currentDeviceChanged();
}

void DeviceModel::setError(const QString& text) {
  if (text == problem) return;
  problem = text;
  Q_EMIT errorChanged();
}

int DeviceModel::rowOf(const QString& deviceId) const {
  const auto found = std::find_if(devices.begin(), devices.end(),
                                  [&](const Device& device) { return device.id == deviceId; });
  return found == devices.end() ? -1 : static_cast<int>(found - devices.begin());
}

}  // namespace orvel::qml
