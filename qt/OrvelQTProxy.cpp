#include <orvel/MtpDevice.h>
#include <orvel/Orvel.h>
#include <orvel/OrvelQTProxy.h>

#include <QMetaObject>
#include <string>
#include <utility>

#include "base/Log.h"
#include "base/StageThread.h"
#include "qt/FacadeListener.h"

namespace {

std::string bytesOf(const QString& text) {
  return text.toUtf8().toStdString();
}

std::string mtpMountPoint(const std::string& deviceId) {
  return "mtp-folder://" + deviceId;
}

/// Carries `call` out, here or, when a receiver calls back on one of Orvel's own threads, later on
/// the facade's thread: the call could otherwise stop and join the very thread that it runs on.
template <class Call>
void outsideStageThreads(OrvelQTProxy& facade, Call call) {
  if (orvel::stageThread::isCurrent()) {
    QMetaObject::invokeMethod(&facade, std::move(call), Qt::QueuedConnection);
  } else {
    call();
  }
}

}  // namespace

OrvelQTProxy& OrvelQTProxy::instance() {
  static OrvelQTProxy proxy(nullptr);
  return proxy;
}

OrvelQTProxy::OrvelQTProxy(QObject* parent) : QObject(parent) {
  orvel::FacadeListener::instance().facadeBegan(this);
}

OrvelQTProxy::~OrvelQTProxy() {
  orvel::FacadeListener::instance().facadeEnds(this);
}

void OrvelQTProxy::setController(orvel::Orvel* attached) {
  controller = attached;
  if (controller != nullptr) controller->listener = &orvel::FacadeListener::instance();
}

void OrvelQTProxy::startIndexing(const QString& device_id, const QString& mount_point,
                                 bool isFirstPartition) {
  outsideStageThreads(*this, [this, device_id, mount_point, isFirstPartition] {
    if (controller == nullptr) return;
    controller->enqueueNewOperation(orvel::OperationType::MassStorage, bytesOf(device_id), 0,
                                    bytesOf(mount_point), isFirstPartition);
  });
}

void OrvelQTProxy::startMtpIndexing(const QString& device_id, t_device_handle handle,
                                    bool isFirstPartition) {
  outsideStageThreads(*this, [this, device_id, handle, isFirstPartition] {
    if (controller == nullptr) return;
    const std::string deviceId = bytesOf(device_id);
    controller->enqueueNewOperation(orvel::OperationType::Mtp, deviceId, handle,
                                    mtpMountPoint(deviceId), isFirstPartition);
  });
}

void OrvelQTProxy::setDeviceReady(t_device_handle handle) {
  OV_INFO("OrvelQTProxy::setDeviceReady %u", handle);
  orvel::MtpDevice::instance().setDeviceReady(handle);
}

int OrvelQTProxy::indexingProgress(const QString& /*mount_point*/) {
  return 0;
}

void OrvelQTProxy::prioritizeMsdDevice(const QString& device_id, const QString& mount_point) {
  const std::string deviceId = bytesOf(device_id);
  OV_INFO("%s", deviceId.c_str());
  outsideStageThreads(*this, [this, deviceId, mountPoint = bytesOf(mount_point)] {
    if (controller == nullptr) return;
    controller->prioritizeOperation(orvel::OperationType::MassStorage, deviceId, 0, mountPoint);
  });
}

void OrvelQTProxy::prioritizeMtpDevice(const QString& device_id, t_device_handle handle) {
  const std::string deviceId = bytesOf(device_id);
  OV_INFO("%s", deviceId.c_str());
  outsideStageThreads(*this, [this, deviceId, handle] {
    if (controller == nullptr) return;
    controller->prioritizeOperation(orvel::OperationType::Mtp, deviceId, handle,
                                    mtpMountPoint(deviceId));
  });
}
