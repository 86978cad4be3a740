#include "cli/IndexSource.h"

#include <QString>

#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>
#include <orvel/OrvelQTProxy.h>

namespace orvel::cli {

void StickSource::start(const std::string& deviceId, const std::string& mountPoint,
                        bool isFirstPartition) {
  OrvelQTProxy::instance().startIndexing(QString::fromStdString(deviceId),
                                         QString::fromStdString(mountPoint), isFirstPartition);
}

std::string PhoneSource::mountPointOf(const std::string& deviceId) {
  return "mtp-folder://" + deviceId;
}

void PhoneSource::start(const std::string& deviceId, const std::string& /*mountPoint*/,
                        bool isFirstPartition) {
  setDeviceId(handle, deviceId);
  OrvelQTProxy::instance().startMtpIndexing(QString::fromStdString(deviceId), handle,
                                            isFirstPartition);
}

void PhoneSource::attend() {
  if (isGone) return;
  if (isAttached(handle)) {
    // The indexer waits once for readiness, and only a report during that wait counts: repeat it.
    OrvelQTProxy::instance().setDeviceReady(handle);
    return;
  }
  // A later readiness would hide the removal, so `isGone` ends the reports.
  isGone = true;
  MtpDevice::instance().disconnectDevice(handle);
}

}  // namespace orvel::cli
