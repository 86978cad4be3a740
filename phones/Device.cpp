#include "phones/Device.h"

#include <array>
#include <cstdio>
#include <exception>

#include "base/Log.h"
#include "base/StageThread.h"
#include "phones/DeviceList.h"
#include "phones/retryWhileBusy.h"

namespace orvel {

namespace {

/// How long a call that may answer "busy" waits for its turn.
constexpr std::chrono::milliseconds kPatience{1000};

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

/// Playlists of earlier walks, and members that are no objects of the device, are of no use.
template <class T>
void dropUnknown(std::vector<T>& listed, const ObjectTable& objects) {
  std::erase_if(listed, [&](const T& one) { return objects.find(idOf(one)) == nullptr; });
}

}  // namespace

Device::Device(t_handle deviceHandle, deviceBus::BusDevice busDevice)
    : handle(deviceHandle), bus(std::move(busDevice)) {}

AttachedDevice Device::describe() {
  thread.run([self = shared_from_this()] { self->open(); });
  AttachedDevice result;
  result.handle = handle;
  {
    const MutexLock lock(mutex);
    result.maker = description.maker;
    result.model = description.model;
    result.serial = description.serial;
    result.error = description.error;
  }
  result.deviceId = deviceIdOf(bus, result.serial);
  listStorages(result.storages, WhenBusy::Wait);
  return result;
}

/// On the device's thread.
void Device::open() {
  if (openSession() != nullptr || gone) return;
  DeviceDescription described;
  std::shared_ptr<DeviceSession> fresh;
  try {
    fresh = deviceBus::connect(bus);
    const t_status status = fresh->open(described);
    if (status != STATUS_OK) fresh.reset();
    if (status == STATUS_NOT_OK_BAD_HANDLE) markGone();
  } catch (const std::exception& error) {
    described.error = error.what();
  }
  if (!described.error.empty()) OV_WARN("device %s: %s", bus.path.c_str(), described.error.c_str());
  const MutexLock lock(mutex);
  description = std::move(described);
  session = std::move(fresh);
}

void Device::close(std::function<void()> whenClosed) {
  thread.post([self = shared_from_this(), whenClosed = std::move(whenClosed)] {
    self->dropSession();
    whenClosed();
  });
}

void Device::dropSession() {
  std::shared_ptr<DeviceSession> ended;
  const MutexLock lock(mutex);
  ended.swap(session);
}

void Device::markGone() {
  std::call_once(removal, &Device::leave, this);
}

void Device::leave() {
  gone = true;
  OV_INFO("device %s with handle %u is gone", bus.path.c_str(), handle);
  DeviceList::instance().remove(handle);
  close([] {});
}

t_status Device::answerGone() {
  markGone();
  return STATUS_NOT_OK_BAD_HANDLE;
}

std::shared_ptr<DeviceSession> Device::openSession() {
  const MutexLock lock(mutex);
  return session;
}

t_status Device::enterCall(const char* call) {
  if (gone) return answerGone();
  const auto opened = openSession();
  if (opened == nullptr) return STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED;
  const t_status status = opened->enterCall(call);
  if (status == STATUS_NOT_OK_BAD_HANDLE) markGone();
  return status;
}

std::uint32_t Device::countItems(const t_mtp_container& of, std::uint32_t present) {
  const auto opened = openSession();
  return opened == nullptr ? present : opened->countItems(of, present);
}

std::uint32_t Device::pageItems(const t_mtp_container& of, std::uint32_t start,
                                std::uint32_t present) {
  const auto opened = openSession();
  return opened == nullptr ? present : opened->pageItems(of, start, present);
}

template <class Value>
t_status Device::askOnce(const Question<Value>& question, Value& value,
                         DeviceThread::Patience patience) {
  struct Answer {
    t_status status = STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
    Value value;
  };
  // Shared: a caller that is stopped leaves while the call goes on.
  const auto answer = std::make_shared<Answer>();
  const auto end = thread.run(
      [self = shared_from_this(), answer, question] {
        answer->status =
            self->answerTo([&](DeviceSession& opened) { return question(opened, answer->value); });
      },
      patience);
  if (end == DeviceThread::End::Busy) return STATUS_BUSY;
  if (end == DeviceThread::End::Stopped) return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
  if (answer->status == STATUS_OK) value = std::move(answer->value);
  return answer->status;
}

/// On the device's thread.
t_status Device::answerTo(const std::function<t_status(DeviceSession&)>& question) {
  if (gone) return answerGone();
  const auto opened = openSession();
  if (opened == nullptr) return STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED;
  try {
    const t_status status = question(*opened);
    if (status == STATUS_NOT_OK_BAD_HANDLE) markGone();
    return status;
  } catch (const std::exception& error) {
    OV_WARN("device %s: %s", bus.path.c_str(), error.what());
    return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
  }
}

template <class Value>
t_status Device::ask(Question<Value> question, Value& value, WhenBusy whenBusy) {
  if (whenBusy == WhenBusy::Answer) return askOnce(question, value, kPatience);
  const t_status status =
      retryWhileBusy([&] { return askOnce(question, value, {}); }, [](int /*retry*/) {});
  if (status != STATUS_BUSY) return status;
  const bool isStopped = stageThread::stopToken().stop_requested();
  return isStopped ? STATUS_NOT_OK_GENERIC_PLUGIN_ERROR : STATUS_NOT_OK;
}

t_status Device::listStorages(std::vector<DeviceStorage>& storages, WhenBusy whenBusy) {
  return ask<std::vector<DeviceStorage>>(
      [](DeviceSession& opened, auto& found) { return opened.listStorages(found); }, storages,
      whenBusy);
}

t_status Device::beginWalk(std::uint32_t& count) {
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

t_status Device::listFolder(std::uint32_t storage, t_track_id folder, std::uint32_t& count) {
  std::vector<DeviceObject> children;
  t_status status = ask<std::vector<DeviceObject>>(
      [storage, folder](DeviceSession& opened, auto& listed) {
        return opened.listFolder(storage, folder, listed);
      },
      children, WhenBusy::Answer);
  const MutexLock lock(mutex);
  if (status == STATUS_OK) {
    objects.setChildren(storage, folder, std::move(children));
  } else if (status != STATUS_BUSY && status != STATUS_NOT_OK_BAD_HANDLE &&
             objects.restoreChildren(storage, folder)) {
    status = STATUS_OK;
  }
  const std::vector<t_track_id>* known = objects.children(storage, folder);
  if (status == STATUS_OK && known != nullptr) count = static_cast<std::uint32_t>(known->size());
  return status;
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
  const t_status status = ask<std::vector<DevicePlaylist>>(
      [](DeviceSession& opened, auto& found) { return opened.listPlaylists(found); }, listed,
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
  const t_status status = ask<std::vector<t_track_id>>(
      [playlist](DeviceSession& opened, auto& found) {
        return opened.playlistMembers(playlist, found);
      },
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
    if (lastTags && lastTags->first == id) {
      tags = lastTags->second;
      return STATUS_OK;
    }
    const DeviceObject* known = objects.find(id);
    if (known == nullptr) return STATUS_NOT_OK;
    track = *known;
  }
  DeviceTags read;
  const t_status status = ask<DeviceTags>(
      [track](DeviceSession& opened, DeviceTags& found) { return opened.readTags(track, found); },
      read, whenBusy);
  if (status != STATUS_OK && status != STATUS_NOT_SUPPORTED) return status;
  tags = read;
  const MutexLock lock(mutex);
  lastTags.emplace(id, std::move(read));
  return STATUS_OK;
}

void Device::keepTrackNumber(t_track_id id, std::uint16_t number) {
  const MutexLock lock(mutex);
  lastTags.emplace(id, DeviceTags{});
  lastTags->second.trackNumber = number;
}

t_status Device::readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                           std::string& bytes) {
  return ask<std::string>(
      [track, offset, length](DeviceSession& opened, std::string& read) {
        return opened.readBytes(track, offset, length, read);
      },
      bytes, WhenBusy::Wait);
}

}  // namespace orvel
