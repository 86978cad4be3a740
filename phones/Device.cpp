#include "phones/Device.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "phones/DeviceCalls.h"
#include "phones/DeviceLimits.h"

namespace orvel {

namespace {

std::string deviceIdOf(const deviceBus::BusDevice& bus, const std::string& serial) {
  std::array<char, 11> ids{};
  std::snprintf(ids.data(), ids.size(), "%04x:%04x:", unsigned{bus.vendor}, unsigned{bus.product});
  return ids.data() + (serial.empty() ? bus.path : serial);
}

t_track_id idOf(t_track_id id) {
  return id;
}
t_track_id idOf(const DevicePlaylist& playlist) {
  return playlist.id;
}

/// In ascending order.
std::vector<t_track_id> idsOf(const std::vector<DeviceObject>& children) {
  std::vector<t_track_id> ids;
  ids.reserve(children.size());
  for (const DeviceObject& child : children) ids.push_back(child.id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

/// Removes playlists of earlier walks and members that are not on the device.
template <class T>
void dropUnknown(std::vector<T>& listed, const ObjectTable& objects) {
  std::erase_if(listed, [&](const T& one) { return objects.find(idOf(one)) == nullptr; });
}

}  // namespace

Device::Device(t_handle handle, deviceBus::BusDevice bus)
    : connection(std::make_shared<DeviceConnection>(handle, std::move(bus))),
      deviceCalls(deviceBus::callsOf(*this)) {}

Device::~Device() = default;

AttachedDevice Device::describe() {
  const DeviceDescription description = connection->open();
  AttachedDevice result;
  result.handle = connection->handle();
  result.maker = description.maker;
  result.model = description.model;
  result.serial = description.serial;
  result.error = description.error;
  result.deviceId = deviceIdOf(connection->bus(), result.serial);
  listStorages(result.storages, WhenBusy::Wait);
  return result;
}

t_status Device::listStorages(std::vector<DeviceStorage>& storages, WhenBusy whenBusy) {
  return connection->ask(
      [](DeviceSession& session, auto& found) { return session.listStorages(found); }, storages,
      whenBusy);
}

void Device::expectSongs(const std::vector<std::string>& paths) {
  const MutexLock lock(mutex);
  objects.expect(paths);
}

t_status Device::beginWalk(std::uint32_t& count) {
  connection->trustAgain();
  std::vector<DeviceStorage> storages;
  const t_status status = listStorages(storages, WhenBusy::Answer);
  if (status != STATUS_OK) return status;
  count = static_cast<std::uint32_t>(storages.size());
  const MutexLock lock(mutex);
  objects.beginWalk(std::move(storages));
  selections.clear();
  knownPlaylists.reset();
  lastTags.reset();
  return STATUS_OK;
}

/// Puts a question of a request to the device, unless it was given up.
template <class Value, class Question>
t_status Device::ask(Question question, Value& value, WhenBusy whenBusy) {
  if (connection->isGivenUp()) return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
  return connection->ask(std::move(question), value, whenBusy);
}

t_status Device::listOnce(std::uint32_t storage, t_track_id folder,
                          std::vector<DeviceObject>& children) {
  return ask(
      [storage, folder](DeviceSession& session, auto& listed) {
        return session.listFolder(storage, folder, listed);
      },
      children, WhenBusy::Answer);
}

/// A listing may lack an object that the device did not describe for a moment, and nothing tells of
/// it. A listing that agrees with the songs of an earlier request needs no other.
t_status Device::listUntilTwoAgree(std::uint32_t storage, t_track_id folder,
                                   std::vector<DeviceObject>& children) {
  std::optional<std::vector<t_track_id>> before;
  int failures = 0;
  for (int listing = 0; listing < kMaxListings; ++listing) {
    const t_status status = listOnce(storage, folder, children);
    if (status == STATUS_BUSY || status == STATUS_NOT_OK_BAD_HANDLE) return status;
    if (status != STATUS_OK) {
      if (++failures == kMaxFailedListings) return status;
      continue;
    }
    std::vector<t_track_id> ids = idsOf(children);
    const bool isTrusted = before == ids || withObjects([&](const ObjectTable& table) {
                             return table.isAsExpected(storage, folder, children);
                           });
    if (isTrusted) return STATUS_OK;
    before = std::move(ids);
  }
  return STATUS_NOT_OK;
}

t_status Device::listFolder(std::uint32_t storage, t_track_id folder, std::uint32_t& count) {
  std::vector<DeviceObject> children;
  const t_status status = listUntilTwoAgree(storage, folder, children);
  if (status != STATUS_OK) return status;
  const MutexLock lock(mutex);
  count =
      static_cast<std::uint32_t>(objects.setChildren(storage, folder, std::move(children)).size());
  return STATUS_OK;
}

void Device::endWalk() {
  const MutexLock lock(mutex);
  objects.endWalk();
  selections.clear();
}

t_status Device::countPlaylists(std::uint32_t& count) {
  {
    const MutexLock lock(mutex);
    if (knownPlaylists) {
      count = static_cast<std::uint32_t>(knownPlaylists->size());
      return STATUS_OK;
    }
  }
  std::vector<DevicePlaylist> listed;
  const t_status status =
      ask([](DeviceSession& session, auto& found) { return session.listPlaylists(found); }, listed,
          WhenBusy::Wait);
  if (status != STATUS_OK && status != STATUS_NOT_SUPPORTED) return status;
  const MutexLock lock(mutex);
  dropUnknown(listed, objects);
  count = static_cast<std::uint32_t>(listed.size());
  knownPlaylists = std::move(listed);
  return STATUS_OK;
}

t_status Device::selectPlaylist(t_track_id playlist) {
  if (!playlistName(playlist)) return STATUS_NOT_OK;
  std::vector<t_track_id> members;
  const t_status status =
      ask([playlist](DeviceSession& session,
                     auto& found) { return session.playlistMembers(playlist, found); },
          members, WhenBusy::Wait);
  if (status != STATUS_OK) return status;
  const MutexLock lock(mutex);
  dropUnknown(members, objects);
  selections[std::this_thread::get_id()] = std::move(members);
  return STATUS_OK;
}

void Device::resetSelection() {
  const MutexLock lock(mutex);
  selections.erase(std::this_thread::get_id());
}

std::vector<t_track_id> Device::selectedTracks() {
  const MutexLock lock(mutex);
  const auto selected = selections.find(std::this_thread::get_id());
  return selected == selections.end() ? objects.tracks() : selected->second;
}

std::vector<DevicePlaylist> Device::playlists() {
  const MutexLock lock(mutex);
  return knownPlaylists.value_or(std::vector<DevicePlaylist>{});
}

std::optional<std::string> Device::playlistName(t_track_id id) {
  const MutexLock lock(mutex);
  if (!knownPlaylists) return std::nullopt;
  for (const DevicePlaylist& playlist : *knownPlaylists) {
    if (playlist.id == id) return playlist.name;
  }
  return std::nullopt;
}

t_status Device::tags(t_track_id id, DeviceTags& tags, WhenBusy whenBusy) {
  DeviceObject track;
  {
    const MutexLock lock(mutex);
    if (lastTags && lastTags->id == id) {
      tags = lastTags->tags;
      return STATUS_OK;
    }
    const DeviceObject* known = objects.find(id);
    if (known == nullptr) return STATUS_NOT_OK;
    track = *known;
  }
  DeviceTags read;
  const t_status status = ask(
      [track](DeviceSession& session, DeviceTags& found) { return session.readTags(track, found); },
      read, whenBusy);
  if (status != STATUS_OK && status != STATUS_NOT_SUPPORTED) return status;
  tags = read;
  const MutexLock lock(mutex);
  lastTags = {id, std::move(read)};
  return STATUS_OK;
}

DeviceTags Device::knownTags(t_track_id id) {
  const MutexLock lock(mutex);
  return lastTags && lastTags->id == id ? lastTags->tags : DeviceTags();
}

void Device::assumeNoTags(t_track_id id) {
  const MutexLock lock(mutex);
  if (objects.find(id) != nullptr) lastTags = {id, DeviceTags{}};
}

t_status Device::readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                           std::string& bytes) {
  return ask(
      [track, offset, length](DeviceSession& session, std::string& read) {
        return session.readBytes(track, offset, length, read);
      },
      bytes, WhenBusy::Wait);
}

}  // namespace orvel
