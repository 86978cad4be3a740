#include "phones/DeviceCalls.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <vector>

#include "phones/Device.h"
#include "phones/MallocLists.h"

namespace orvel {

namespace {

constexpr char kMissingDate[] = "Thu Jan  1 00:00:00 1970";

bool isDeviceList(const t_mtp_container& container, t_mtp_item_type type) {
  return container.kind == CONTAINER_DEVICE && type == TYPE_STORAGE;
}

bool isFolderList(const t_mtp_container& container, t_mtp_item_type type) {
  return container.kind == CONTAINER_FOLDER && type == TYPE_OBJECT;
}

/// At most `count` of `all` from `start` on.
template <class T>
std::vector<T> page(const std::vector<T>& all, std::size_t start, std::size_t count) {
  const std::size_t begin = std::min(start, all.size());
  const std::size_t length = std::min(count, all.size() - begin);
  const auto first = all.begin() + static_cast<std::ptrdiff_t>(begin);
  return {first, first + static_cast<std::ptrdiff_t>(length)};
}

/// The objects with these ids; for an unknown id an object without a name.
std::vector<DeviceObject> objectsOf(Device& device, const std::vector<t_track_id>& ids) {
  return device.withObjects([&](const ObjectTable& table) {
    std::vector<DeviceObject> objects;
    objects.reserve(ids.size());
    for (const t_track_id id : ids) {
      const DeviceObject* found = table.find(id);
      objects.push_back(found == nullptr ? DeviceObject{} : *found);
      objects.back().id = id;
    }
    return objects;
  });
}

/// The ids of a folder's children; nothing unless this walk has listed the folder.
std::optional<std::vector<t_track_id>> childrenOf(Device& device, const t_mtp_container& folder) {
  return device.withObjects([&](const ObjectTable& table) {
    const auto* ids = table.children(folder.storage, folder.id);
    return ids == nullptr ? std::nullopt : std::optional(*ids);
  });
}

/// Runs `use` on the object with this id; STATUS_NOT_OK when it is unknown.
template <class Use>
t_status withObject(Device& device, t_track_id id, Use use) {
  return device.withObjects([&](const ObjectTable& table) {
    const DeviceObject* object = table.find(id);
    if (object == nullptr) return STATUS_NOT_OK;
    use(*object);
    return STATUS_OK;
  });
}

std::string asctimeText(std::time_t time) {
  std::tm parts{};
  std::array<char, 32> text{};
  if (time == 0 || localtime_r(&time, &parts) == nullptr ||
      std::strftime(text.data(), text.size(), "%a %b %e %H:%M:%S %Y", &parts) == 0) {
    return kMissingDate;
  }
  return text.data();
}

t_status readTag(Device& device, t_track_id id, std::string DeviceTags::*field, WhenBusy whenBusy,
                 std::string& text) {
  DeviceTags tags;
  const t_status status = device.tags(id, tags, whenBusy);
  if (status == STATUS_OK) text = tags.*field;
  return status;
}

t_status readTitle(Device& device, t_track_id id, std::string& text) {
  const auto playlist = device.playlistName(id);
  if (!playlist) return readTag(device, id, &DeviceTags::title, WhenBusy::Answer, text);
  text = *playlist;
  return STATUS_OK;
}

}  // namespace

t_status DeviceCalls::getNumItems(const t_mtp_container& container, t_mtp_item_type type,
                                  std::uint32_t& count) {
  if (isDeviceList(container, type)) return device.beginWalk(count);
  if (!isFolderList(container, type)) return STATUS_NOT_OK;
  return device.listFolder(container.storage, container.id, count);
}

t_status DeviceCalls::getItems(const t_mtp_container& container, t_mtp_item_type type,
                               std::uint32_t start, std::uint32_t count, t_mtp_item_list& items) {
  if (container.kind == CONTAINER_WALK_DONE && type == TYPE_WALK_DONE) {
    device.endWalk();
    return STATUS_OK;
  }
  if (isDeviceList(container, type)) {
    const auto storages =
        device.withObjects([](const ObjectTable& table) { return table.storages(); });
    items = mallocItems(page(storages, start, count));
    return STATUS_OK;
  }
  if (!isFolderList(container, type)) return STATUS_NOT_OK;
  const auto children = childrenOf(device, container);
  if (!children) return STATUS_NOT_OK;
  items = mallocItems(objectsOf(device, page(*children, start, count)));
  return STATUS_OK;
}

t_status DeviceCalls::getNumElements(t_content_categories category, std::uint32_t& count) {
  if (category == CATEGORY_PLAYLISTS) return device.countPlaylists(count);
  if (category != CATEGORY_TRACKS) return STATUS_NOT_OK;
  count = static_cast<std::uint32_t>(device.selectedTracks().size());
  return STATUS_OK;
}

t_status DeviceCalls::getPlaylistElements(t_content_categories category, std::uint32_t start,
                                          std::uint32_t count, t_playlist_items_list& elements) {
  if (category == CATEGORY_PLAYLISTS) {
    elements = mallocElements(page(device.playlists(), start, count));
    return STATUS_OK;
  }
  if (category != CATEGORY_TRACKS) return STATUS_NOT_OK;
  elements = mallocElements(objectsOf(device, page(device.selectedTracks(), start, count)));
  return STATUS_OK;
}

t_status DeviceCalls::resetCategory() {
  device.resetSelection();
  return STATUS_OK;
}

t_status DeviceCalls::selectCategory(t_content_categories category, std::uint32_t index) {
  return category == CATEGORY_PLAYLISTS ? device.selectPlaylist(index) : STATUS_NOT_OK;
}

t_status DeviceCalls::getTrackText(TrackText which, t_track_id id, std::string& text) {
  switch (which) {
    case TrackText::Title:
      return readTitle(device, id, text);
    case TrackText::Artist:
      return readTag(device, id, &DeviceTags::artist, WhenBusy::Wait, text);
    case TrackText::Album:
      return readTag(device, id, &DeviceTags::album, WhenBusy::Wait, text);
    case TrackText::Genre:
      return readTag(device, id, &DeviceTags::genre, WhenBusy::Wait, text);
    case TrackText::Composer:
      return readTag(device, id, &DeviceTags::composer, WhenBusy::Wait, text);
    case TrackText::FileName:
      return withObject(device, id, [&](const DeviceObject& object) { text = object.name; });
    case TrackText::DateModified:
      return withObject(device, id,
                        [&](const DeviceObject& object) { text = asctimeText(object.modified); });
  }
  return STATUS_NOT_SUPPORTED;
}

t_status DeviceCalls::getTrackAlbumTrackIndex(t_track_id id, std::uint16_t& index) {
  DeviceTags tags;
  const t_status status = device.tags(id, tags, WhenBusy::Wait);
  if (status == STATUS_OK) index = tags.trackNumber;
  return status;
}

t_status DeviceCalls::getTrackFileSize(t_track_id id, std::uint64_t& size) {
  return withObject(device, id, [&](const DeviceObject& object) { size = object.size; });
}

}  // namespace orvel
