#include "phones/scripted/ScriptedSession.h"

#include <fstream>

#include "phones/scripted/ScriptedPath.h"

namespace orvel::scripted {

namespace {

/// Cuts a list or text to the part that the device delivers.
template <class Items>
void cut(Items& items, const LiveDevice::Outcome& outcome) {
  if (outcome.items && *outcome.items < items.size()) items.resize(*outcome.items);
}

/// False when the file cannot be read.
bool readFile(const std::string& name, std::uint64_t offset, std::uint32_t length,
              std::string& bytes) {
  std::ifstream file(name, std::ios::binary);
  bytes.resize(length);
  if (!file.seekg(static_cast<std::streamoff>(offset))) return false;
  file.read(bytes.data(), length);
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return !file.bad();
}

}  // namespace

t_status ScriptedSession::open(DeviceDescription& description) {
  const t_status status = device->perform("open", std::nullopt).status;
  if (status == STATUS_OK) {
    const auto media = device->media();
    const ScriptedDevice& own = media->device();
    description = {own.maker, own.model, own.serial, ""};
  } else {
    description.error = "It refuses to be opened (status " + std::to_string(status) +
                        "). Unlock it, allow file transfer and plug it in again.";
  }
  return status;
}

template <class Items, class Find>
t_status ScriptedSession::list(const char* function, std::optional<t_track_id> object, Items& items,
                               Find find) {
  items.clear();
  const LiveDevice::Outcome outcome = device->perform(function, object);
  if (outcome.status != STATUS_OK) return outcome.status;
  const auto media = device->media();
  const Items* const found = find(*media);
  if (found == nullptr) return STATUS_NOT_OK;
  items = *found;
  cut(items, outcome);
  return STATUS_OK;
}

t_status ScriptedSession::listStorages(std::vector<DeviceStorage>& storages) {
  return list("listStorages", std::nullopt, storages,
              [](const MediaIndex& media) { return &media.device().storages; });
}

t_status ScriptedSession::listFolder(std::uint32_t storage, t_track_id folder,
                                     std::vector<DeviceObject>& children) {
  const t_status status = list("listFolder", folder, children, [&](const MediaIndex& media) {
    return media.children(storage, folder);
  });
  if (status == STATUS_OK) listedFolders.emplace(storage, folder);
  return status;
}

t_status ScriptedSession::readTags(const DeviceObject& track, DeviceTags& tags) {
  tags = {};
  const t_status status = device->perform("readTags", track.id).status;
  if (status != STATUS_OK) return status;
  const auto media = device->media();
  const ScriptedObject* const object = media->object(track.id);
  if (object == nullptr) return STATUS_NOT_OK;
  if (!object->tags) return STATUS_NOT_SUPPORTED;
  tags = *object->tags;
  return STATUS_OK;
}

t_status ScriptedSession::readBytes(const DeviceObject& track, std::uint64_t offset,
                                    std::uint32_t length, std::string& bytes) {
  bytes.clear();
  const LiveDevice::Outcome outcome = device->perform("readBytes", track.id);
  if (outcome.status != STATUS_OK) return outcome.status;
  const auto media = device->media();
  const ScriptedObject* const object = media->object(track.id);
  if (object == nullptr) return STATUS_NOT_OK;
  if (object->file.empty()) {
    if (offset < object->content.size()) bytes = object->content.substr(offset, length);
  } else if (!readFile(object->file, offset, length, bytes)) {
    bytes.clear();
    return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
  }
  cut(bytes, outcome);
  return STATUS_OK;
}

t_status ScriptedSession::listPlaylists(std::vector<DevicePlaylist>& playlists) {
  playlists.clear();
  const LiveDevice::Outcome outcome = device->perform("listPlaylists", std::nullopt);
  if (outcome.status != STATUS_OK) return outcome.status;
  const auto media = device->media();
  for (const auto& [storage, folder] : listedFolders) {
    const auto* const children = media->children(storage, folder);
    if (children == nullptr) continue;
    for (const DeviceObject& child : *children) {
      if (media->members(child.id) == nullptr) continue;
      playlists.push_back({child.id, ScriptedPath(media->pathOf(child.id)).name});
    }
  }
  cut(playlists, outcome);
  return STATUS_OK;
}

t_status ScriptedSession::playlistMembers(t_track_id playlist, std::vector<t_track_id>& members) {
  return list("playlistMembers", playlist, members,
              [&](const MediaIndex& media) { return media.members(playlist); });
}

}  // namespace orvel::scripted
