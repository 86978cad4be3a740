#include "service/Service.h"

#include <orvel/DatabaseMgr.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include "base/GlibSource.h"
#include "base/Utf8.h"
#include "browse/MediaDatabase.h"
#include "host/DeviceId.h"
#include "host/confinementName.h"
#include "host/obstacleToReading.h"
#include "service/BusError.h"
#include "service/arguments.h"
#include "service/separated.h"

namespace orvel::service {

namespace {

constexpr std::size_t kMostDevices = 1000;
constexpr unsigned kMostFoldersUnderWay = 16;
constexpr char kNoDevice[] = "/";
constexpr char kPhoneMountPoint[] = "mtp-folder://";

std::uint64_t microsecondsSinceEpoch() {
  return static_cast<std::uint64_t>(g_get_real_time());
}

const char* nameOf(IndexState::Phase phase) {
  switch (phase) {
    case IndexState::Phase::Idle:
      return "idle";
    case IndexState::Phase::Waiting:
      return "waiting";
    case IndexState::Phase::Paused:
      return "paused";
    case IndexState::Phase::Searching:
      return "searching";
    case IndexState::Phase::Reading:
      return "reading";
    case IndexState::Phase::Finishing:
      return "finishing";
    case IndexState::Phase::Failed:
      return "failed";
  }
  return "idle";
}

/// Adds up the partitions' progress.
void showProgress(const IndexState& state, DeviceFacts& facts) {
  facts.state = nameOf(state.phase);
  facts.songsFound = facts.songsToRead = facts.songsRead = 0;
  facts.isLimitReached = false;
  facts.leftUndone.clear();
  std::optional<Confinement> least;
  for (const ProgressSnapshot& partition : state.partitions) {
    facts.songsFound += partition.songs.found;
    facts.songsToRead += partition.songs.added;
    facts.songsRead += partition.songs.stored;
    facts.isLimitReached |= partition.limitReached || partition.folderLimitReached;
    facts.leftUndone.insert(facts.leftUndone.end(), partition.leftUndone.begin(),
                            partition.leftUndone.end());
    if (!partition.confinement) continue;
    least = least ? std::min(*least, *partition.confinement) : *partition.confinement;
  }
  const char* const name = host::confinementName(least);
  facts.confinement = name == nullptr ? "" : name;
  facts.isIsolated = !least || *least == Confinement::FilterAndLandlock;
}

/// The worst status of the partitions; empty when none is known.
std::string statusOf(const std::vector<browse::StoredPartition>& partitions) {
  if (partitions.empty()) return {};
  const bool areOk =
      std::all_of(partitions.begin(), partitions.end(),
                  [](const browse::StoredPartition& one) { return one.status == "OK"; });
  return areOk ? "OK" : "PROGRESS";
}

std::vector<std::string> mountPointsOf(const hotplug::Medium& medium) {
  std::vector<std::string> mountPoints;
  for (const hotplug::Partition& partition : medium.partitions) {
    mountPoints.push_back(partition.mountPoint);
  }
  return mountPoints;
}

bool isLocked(const AttachedDevice& phone) {
  return phone.storages.empty() && phone.error.empty();
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The path without superfluous parts. Throws BusError when it is no absolute path.
std::string cleanMountPoint(const std::string& path) {
  if (path.empty() || path.front() != '/') {
    refuseArgument("The mount point '" + path + "' is no absolute path.");
  }
  std::string clean = std::filesystem::path(path).lexically_normal().string();
  if (clean.size() > 1 && clean.back() == '/') clean.pop_back();
  return clean;
}

}  // namespace

Service::Service(GDBusConnection* bus, ConfigurationReading configured,
                 std::function<void()> quitCall)
    : objects(g_dbus_object_manager_server_new(ManagerObject::kPath)),
      reading(std::move(configured)),
      quit(std::move(quitCall)),
      lastGeneration(microsecondsSinceEpoch()),
      indexing(*this),
      manager(bus,
              {DatabaseMgr::instance().directory(), reading.configuration.autoIndex,
               nameOf(reading.configuration.settings.textRegion), reading.problems},
              *this),
      idleTimer([this] {
        if (indexing.isIdle() && !manager.isPaused()) quit();
      }) {
  g_dbus_object_manager_server_set_connection(objects.get(), bus);
  browsing.examineAll(DatabaseMgr::instance().directory(),
                      [this](const std::string& database, const DatabaseContents& contents) {
                        databaseFound(database, contents);
                      });
  noteActivity();
}

Service::~Service() = default;

void Service::watchDevices() {
  try {
    media = std::make_unique<hotplug::MediaMonitor>(
        reading.configuration.media,
        hotplug::MediaMonitor::Events{
            [this](const hotplug::Medium& medium) { showMedium(medium); },
            [this](const hotplug::Medium& medium) { showMedium(medium); },
            [this](const std::string& mediumId) { removeMedium(mediumId); }});
  } catch (const std::runtime_error& error) {
    g_warning("%s Only folders that clients name are indexed.", error.what());
  }
  if (!reading.configuration.phones) return;
  phones = std::make_unique<hotplug::Phones>(
      hotplug::Phones::Events{[this](const AttachedDevice& phone) { phoneAttached(phone); },
                              [this](const AttachedDevice& phone) { phoneChanged(phone); },
                              [this](const AttachedDevice& phone) { phoneRemoved(phone); }});
}

void Service::showMedium(const hotplug::Medium& medium) {
  std::set<std::string> before;
  devicesOfMedium[medium.deviceId].swap(before);
  for (const hotplug::Medium& stick : separated(medium)) {
    before.erase(stick.deviceId);
    devicesOfMedium[medium.deviceId].insert(stick.deviceId);
    Device* const known = find(stick.deviceId);
    if (known != nullptr && known->object.facts.isAttached) {
      changeStick(*known, stick);
    } else {
      attachStick(stick);
    }
  }
  for (const std::string& gone : before) detached(gone);
}

void Service::removeMedium(const std::string& mediumId) {
  for (const std::string& deviceId : devicesOfMedium[mediumId]) detached(deviceId);
  devicesOfMedium.erase(mediumId);
}

void Service::attachStick(const hotplug::Medium& stick) {
  Attachment attachment;
  attachment.mountPoints = mountPointsOf(stick);
  Device& device = appear(stick.deviceId, "stick", stick.name, attachment);
  if (reading.configuration.autoIndex) begin(device);
  device.object.publish();
}

void Service::changeStick(Device& device, const hotplug::Medium& stick) {
  const std::vector<std::string> before = device.target.mountPoints;
  const std::vector<std::string> now = mountPointsOf(stick);
  // A client may have named the folder before the medium was noticed.
  device.object.facts.kind = "stick";
  device.object.facts.name = stick.name;
  setMountPoints(device, now);
  for (const std::string& mountPoint : before) {
    if (!contains(now, mountPoint)) indexing.removePartition(stick.deviceId, mountPoint);
  }
  for (const std::string& mountPoint : now) {
    if (contains(before, mountPoint) || !reading.configuration.autoIndex) continue;
    indexing.indexPartition(device.target, mountPoint);
  }
  device.object.publish();
}

void Service::phoneAttached(const AttachedDevice& phone) {
  const Device* const known = find(phone.deviceId);
  if (known != nullptr && known->object.facts.isAttached) {
    g_warning(
        "Another attached device has the id %s, too. Unplug one: they would share a database.",
        phone.deviceId.c_str());
    return;
  }
  Attachment attachment{.type = OperationType::Mtp,
                        .handle = phone.handle,
                        .mountPoints = {kPhoneMountPoint + phone.deviceId},
                        .isLocked = isLocked(phone),
                        .problem = phone.error};
  Device& device = appear(phone.deviceId, "phone", phone.maker + " " + phone.model, attachment);
  if (reading.configuration.autoIndex && !phone.storages.empty()) begin(device);
  device.object.publish();
}

void Service::phoneChanged(const AttachedDevice& phone) {
  Device* const device = find(phone.deviceId);
  if (device == nullptr || device->target.handle != phone.handle) return;
  const bool wasLocked = device->object.facts.isLocked;
  device->object.facts.isLocked = isLocked(phone);
  device->object.facts.problem = phone.error;
  if (reading.configuration.autoIndex && wasLocked && !phone.storages.empty()) begin(*device);
  device->object.publish();
}

/// Another phone may have the same id.
void Service::phoneRemoved(const AttachedDevice& phone) {
  const Device* const device = find(phone.deviceId);
  if (device != nullptr && device->target.handle == phone.handle) detached(phone.deviceId);
}

void Service::detached(const std::string& deviceId) {
  Device* const device = find(deviceId);
  if (device == nullptr) return;
  indexing.remove(deviceId);
  device->object.facts.isAttached = false;
  device->object.facts.isLocked = false;
  setMountPoints(*device, {});
  device->object.publishAtOnce();
}

void Service::databaseFound(const std::string& database, const DatabaseContents& contents) {
  const std::string& deviceId = contents.deviceId;
  // A file of another name was put there by somebody else.
  if (deviceId.empty() || DatabaseMgr::instance().getDbNameFromDevId(deviceId) != database) return;
  if (find(deviceId) != nullptr || contents.partitions.empty()) return;
  const bool isPhone = contents.partitions.front().mountPoint.starts_with(kPhoneMountPoint);
  const char* const kind = isPhone ? "phone" : deviceId.front() == '/' ? "folder" : "stick";
  show(appear(deviceId, kind, deviceId, std::nullopt), contents);
}

void Service::begin(Device& device) {
  device.object.facts.problem.clear();
  indexing.index(device.target);
}

void Service::indexingProgressed(const std::string& deviceId) {
  Device* const device = find(deviceId);
  if (device == nullptr) return;
  showProgress(indexing.stateOf(deviceId), device->object.facts);
  examine(*device);
  device->object.publish();
  noteActivity();
}

void Service::listIsReady(const std::string& deviceId) {
  if (Device* const device = find(deviceId)) device->object.emitListReady();
}

void Service::foldersAreComplete(const std::string& deviceId) {
  if (Device* const device = find(deviceId)) device->object.emitFoldersComplete();
}

void Service::indexingEnded(const std::string& deviceId) {
  Device* const device = find(deviceId);
  if (device == nullptr) return;
  DeviceFacts& facts = device->object.facts;
  showProgress(indexing.stateOf(deviceId), facts);
  if (facts.state == "failed" && facts.problem.empty()) {
    facts.problem = "The database " + facts.databasePath +
                    " cannot be opened. Check that the service's user may write it, or remove it.";
  }
  device->hasEnded = true;
  examine(*device);
  noteActivity();
}

void Service::rescan(DeviceObject& object) {
  Device& device = *find(object.facts.id);
  if (!object.facts.isAttached) {
    throw BusError(BusError::Kind::Failed,
                   object.facts.name + " is not attached. Plug it in and mount it first.");
  }
  if (object.facts.isLocked) {
    throw BusError(BusError::Kind::Failed,
                   object.facts.name + " is locked. Unlock it and allow file transfer.");
  }
  begin(device);
}

void Service::stop(DeviceObject& object) {
  indexing.stop(object.facts.id);
}

void Service::list(GDBusMethodInvocation* call, DeviceObject& device, const char* kind,
                   GVariant* filter, const browse::PageRequest& page) {
  browsing.list(call, device.facts.databasePath, kind, filter, page);
}

void Service::search(GDBusMethodInvocation* call, DeviceObject& device, const char* words,
                     const char* const* kinds, const browse::PageRequest& page) {
  browsing.search(call, device.facts.databasePath, words, kinds, page);
}

void Service::index(GDBusMethodInvocation* call, const IndexCall& wanted) {
  const std::string mountPoint = cleanMountPoint(wanted.mountPoint);
  if (foldersUnderWay >= kMostFoldersUnderWay) {
    throw BusError(BusError::Kind::LimitsExceeded,
                   "Other folders do not answer. Check their devices, then try again.");
  }
  ++foldersUnderWay;
  // A folder of a dead disk may never answer: nobody else waits for it.
  std::thread([this, call, wanted, mountPoint] {
    post(nullptr, [this, call, wanted, mountPoint, obstacle = host::obstacleToReading(mountPoint)] {
      --foldersUnderWay;
      answer(call, [&] {
        if (!obstacle.empty()) refuseArgument(obstacle);
        const std::string path = indexFolder(wanted, mountPoint);
        g_dbus_method_invocation_return_value(call, g_variant_new("(o)", path.c_str()));
      });
    });
  }).detach();
}

std::string Service::indexFolder(const IndexCall& wanted, const std::string& mountPoint) {
  Device* device = attachedWith(mountPoint);
  if (device == nullptr || (wanted.deviceId && *wanted.deviceId != device->object.facts.id)) {
    const std::string deviceId = wanted.deviceId.value_or(host::defaultDeviceId(mountPoint));
    requireAvailable(deviceId, mountPoint);
    Attachment attachment;
    attachment.mountPoints = {mountPoint};
    device = &appear(deviceId, "folder", wanted.name.value_or(mountPoint), attachment);
  }
  if (wanted.name) device->object.facts.name = *wanted.name;
  // A request that is under way is the one that is wanted.
  if (!indexing.hasWorkFor(device->object.facts.id)) begin(*device);
  device->object.publish();
  return device->object.path();
}

void Service::requireAvailable(const std::string& deviceId, const std::string& mountPoint) {
  const Device* const known = find(deviceId);
  if (known == nullptr && devices.size() >= kMostDevices) {
    throw BusError(BusError::Kind::LimitsExceeded,
                   "There are " + std::to_string(kMostDevices) +
                       " devices already. Forget those that are not needed.");
  }
  if (known != nullptr && known->object.facts.isAttached &&
      known->target.mountPoints != std::vector{mountPoint}) {
    refuseArgument("The device '" + deviceId +
                   "' is attached with other partitions. Name another device-id.");
  }
}

void Service::forget(const std::string& path) {
  Device& device = deviceAt(path);
  const std::string deviceId = device.object.facts.id;
  if (selected == deviceId) prioritize(kNoDevice);
  indexing.forget(deviceId);
  // A later request for the device comes after it.
  indexing.afterCalls([deviceId] { DatabaseMgr::instance().deleteDb(deviceId); });
  browsing.close(device.object.facts.databasePath);
  devices.erase(deviceId);
}

void Service::prioritize(const std::string& path) {
  selected = path == kNoDevice ? "" : deviceAt(path).object.facts.id;
  manager.setSelected(path);
  indexing.select(selected);
}

void Service::setPaused(bool isPaused) {
  indexing.setPaused(isPaused);
}

void Service::wasCalled() {
  noteActivity();
}

Service::Device& Service::appear(const std::string& deviceId, const char* kind,
                                 const std::string& name,
                                 const std::optional<Attachment>& attachment) {
  auto& device = devices[deviceId];
  DeviceFacts facts = device == nullptr ? DeviceFacts{} : device->object.facts;
  facts.kind = kind;
  facts.name = name;
  if (attachment) {
    facts.isAttached = true;
    facts.isLocked = attachment->isLocked;
    facts.mountPoints = attachment->mountPoints;
    facts.problem = attachment->problem;
  }
  if (device == nullptr) {
    facts.id = deviceId;
    facts.databasePath = DatabaseMgr::instance().getDbNameFromDevId(deviceId);
    facts.generation = ++lastGeneration;
    device =
        std::make_unique<Device>(objects.get(), std::move(facts), static_cast<DeviceCalls&>(*this));
  } else {
    device->object.facts = std::move(facts);
  }
  if (attachment) {
    device->target = {deviceId, attachment->type, attachment->handle, attachment->mountPoints};
  }
  return *device;
}

Service::Device* Service::find(const std::string& deviceId) {
  const auto found = devices.find(deviceId);
  return found == devices.end() ? nullptr : found->second.get();
}

Service::Device& Service::deviceAt(const std::string& path) {
  for (const auto& [deviceId, device] : devices) {
    if (device->object.path() == path) return *device;
  }
  throw BusError(BusError::Kind::UnknownDevice,
                 "There is no device " + path + ". The object manager lists those that there are.");
}

Service::Device* Service::attachedWith(const std::string& mountPoint) {
  for (const auto& [deviceId, device] : devices) {
    if (device->object.facts.isAttached && contains(device->target.mountPoints, mountPoint)) {
      return device.get();
    }
  }
  return nullptr;
}

void Service::setMountPoints(Device& device, const std::vector<std::string>& mountPoints) {
  device.target.mountPoints = mountPoints;
  device.object.facts.mountPoints = mountPoints;
}

/// Reads the totals and the stored status; one look at a time.
void Service::examine(Device& device) {
  if (device.isBeingExamined) {
    device.mustBeExaminedAgain = true;
    return;
  }
  device.isBeingExamined = true;
  device.mustBeExaminedAgain = false;
  const bool hasEnded = std::exchange(device.hasEnded, false);
  browsing.examine(device.object.facts.databasePath,
                   [this, hasEnded, deviceId = device.object.facts.id](
                       const std::optional<DatabaseContents>& contents) {
                     Device* const examined = find(deviceId);
                     if (examined == nullptr) return;
                     examined->isBeingExamined = false;
                     if (contents) {
                       show(*examined, *contents);
                     } else if (hasEnded) {
                       examined->object.facts.status = "PROGRESS";
                     }
                     if (hasEnded) examined->object.emitFinished();
                     if (examined->mustBeExaminedAgain) examine(*examined);
                   });
}

void Service::show(Device& device, const DatabaseContents& contents) {
  DeviceFacts& facts = device.object.facts;
  facts.status = statusOf(contents.partitions);
  facts.totals = contents.totals;
  if (contents.hasChanged) facts.generation = ++lastGeneration;
  device.object.publish();
}

void Service::noteActivity() {
  watchdog.setBusy(isBusy());
  browsing.setIndexing(isBusy());
  idleTimer.stop();
  if (reading.configuration.idleExit) idleTimer.run(*reading.configuration.idleExit);
}

}  // namespace orvel::service
