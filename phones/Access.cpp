#include "phones/Access.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "phones/AccessText.h"
#include "phones/DeviceList.h"

namespace orvel {

namespace {

using WhenBusy = Device::WhenBusy;

constexpr char kMissingDate[] = "Thu Jan  1 00:00:00 1970";

/// Carries out one call for the device of `handle`, unless the device has it that the call fails.
template <class Use>
t_status call(t_handle handle, const char* name, Use use) {
  const std::shared_ptr<Device> device = DeviceList::instance().find(handle);
  if (device == nullptr) return STATUS_NOT_OK_BAD_HANDLE;
  const t_status status = device->enterCall(name);
  return status == STATUS_OK ? use(*device) : status;
}

bool isDeviceList(const t_mtp_container& container, t_mtp_item_type type) {
  return container.kind == CONTAINER_DEVICE && type == TYPE_STORAGE;
}

bool isFolderList(const t_mtp_container& container, t_mtp_item_type type) {
  return container.kind == CONTAINER_FOLDER && type == TYPE_OBJECT;
}

void write(const std::string& text, char* buffer) {
  const std::string written = accessText(text);
  std::memcpy(buffer, written.c_str(), written.size() + 1);
}

char* allocateCopy(const std::string& text) {
  return strdup(text.c_str());
}

/// An array as the C interface hands it out; null for an empty one or when memory ran out.
template <class Item>
Item* allocateArray(const std::vector<Item>& items) {
  if (items.empty()) return nullptr;
  auto* const array = static_cast<Item*>(std::calloc(items.size(), sizeof(Item)));
  if (array != nullptr) std::copy(items.begin(), items.end(), array);
  return array;
}

/// The part of `all` from `start` on, at most `wanted` of it.
template <class T>
std::vector<T> part(const std::vector<T>& all, std::size_t start, std::size_t wanted) {
  const std::size_t begin = std::min(start, all.size());
  const std::size_t count = std::min(wanted, all.size() - begin);
  const auto first = all.begin() + static_cast<std::ptrdiff_t>(begin);
  return {first, first + static_cast<std::ptrdiff_t>(count)};
}

t_mtp_item itemOf(const DeviceStorage& storage) {
  return {allocateCopy(storage.description), storage.id, TYPE_STORAGE};
}

t_mtp_item itemOf(const DeviceObject& object) {
  return {allocateCopy(object.name), object.id, object.isFolder ? TYPE_FOLDER : TYPE_FILE};
}

template <class T>
void fill(t_mtp_item_list& list, const std::vector<T>& page) {
  std::vector<t_mtp_item> items;
  items.reserve(page.size());
  for (const T& one : page) items.push_back(itemOf(one));
  list = {static_cast<std::uint32_t>(items.size()), allocateArray(items)};
}

void fill(t_playlist_items_list& list, const std::vector<DevicePlaylist>& page) {
  std::vector<t_playlist_item> items;
  items.reserve(page.size());
  for (const DevicePlaylist& one : page) items.push_back({allocateCopy(one.name), one.id, 0});
  list = {static_cast<std::uint32_t>(items.size()), allocateArray(items)};
}

/// The children of a folder; nothing when it was not listed.
std::optional<std::vector<DeviceObject>> childrenOf(Device& device, const t_mtp_container& folder) {
  return device.withObjects(
      [&](const ObjectTable& objects) -> std::optional<std::vector<DeviceObject>> {
        const auto* ids = objects.children(folder.storage, folder.id);
        if (ids == nullptr) return std::nullopt;
        std::vector<DeviceObject> children;
        children.reserve(ids->size());
        for (const t_track_id id : *ids) children.push_back(*objects.find(id));
        return children;
      });
}

std::vector<DevicePlaylist> selectedTracks(Device& device, std::uint32_t start,
                                           std::uint32_t wanted) {
  const std::vector<t_track_id> ids = part(device.selectedTracks(), start, wanted);
  return device.withObjects([&](const ObjectTable& objects) {
    std::vector<DevicePlaylist> named;
    named.reserve(ids.size());
    for (const t_track_id id : ids) {
      const DeviceObject* track = objects.find(id);
      named.push_back({id, track == nullptr ? "" : track->name});
    }
    return named;
  });
}

/// The page of a folder or storage list that the device has it delivered.
template <class T>
t_status deliver(Device& device, const t_mtp_container& container, std::uint32_t start,
                 std::uint32_t wanted, const std::vector<T>& all, t_mtp_item_list& items) {
  const std::vector<T> page = part(all, start, wanted);
  const auto present = static_cast<std::uint32_t>(page.size());
  fill(items, part(page, 0, device.pageItems(container, start, present)));
  return STATUS_OK;
}

/// One text of the device's own tags.
t_status writeTag(t_handle handle, const char* name, t_track_id id, std::string DeviceTags::*field,
                  char* buffer) {
  buffer[0] = '\0';
  return call(handle, name, [&](Device& device) {
    DeviceTags tags;
    const t_status status = device.tags(id, tags, WhenBusy::Wait);
    write(tags.*field, buffer);
    return status;
  });
}

/// What is known of an object; STATUS_NOT_OK when it is unknown.
template <class Use>
t_status withObject(t_handle handle, const char* name, t_track_id id, Use use) {
  return call(handle, name, [&](Device& device) {
    return device.withObjects([&](const ObjectTable& objects) {
      const DeviceObject* object = objects.find(id);
      if (object == nullptr) return STATUS_NOT_OK;
      use(*object);
      return STATUS_OK;
    });
  });
}

std::string asctimeText(std::time_t time) {
  std::tm parts{};
  char text[32] = "";
  if (time == 0 || localtime_r(&time, &parts) == nullptr ||
      std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts) == 0) {
    return kMissingDate;
  }
  return text;
}

}  // namespace

t_status Access_GetNumItems(t_handle handle, const t_mtp_container& container,
                            const t_mtp_item_type& type, std::uint32_t& count) {
  count = 0;
  return call(handle, __func__, [&](Device& device) {
    t_status status = STATUS_NOT_OK;
    if (isDeviceList(container, type)) status = device.beginWalk(count);
    if (isFolderList(container, type)) {
      status = device.listFolder(container.storage, container.id, count);
    }
    if (status == STATUS_OK) count = device.countItems(container, count);
    return status;
  });
}

t_status Access_GetItems(t_handle handle, const t_mtp_container& container,
                         const t_mtp_item_type& type, const std::uint32_t& start,
                         const std::uint32_t& count, t_mtp_item_list& items) {
  items = {};
  return call(handle, __func__, [&](Device& device) {
    if (container.kind == CONTAINER_WALK_DONE && type == TYPE_WALK_DONE) {
      device.endWalk();
      return STATUS_OK;
    }
    if (isDeviceList(container, type)) {
      const auto storages =
          device.withObjects([](const ObjectTable& objects) { return objects.storages(); });
      return deliver(device, container, start, count, storages, items);
    }
    if (!isFolderList(container, type)) return STATUS_NOT_OK;
    const auto children = childrenOf(device, container);
    if (!children) return STATUS_NOT_OK;
    return deliver(device, container, start, count, *children, items);
  });
}

t_status Access_GetNumElements(t_handle handle, t_content_categories category,
                               std::uint32_t& count) {
  count = 0;
  return call(handle, __func__, [&](Device& device) {
    if (category == CATEGORY_PLAYLISTS) return device.countPlaylists(count);
    if (category != CATEGORY_TRACKS) return STATUS_NOT_OK;
    count = static_cast<std::uint32_t>(device.selectedTracks().size());
    return STATUS_OK;
  });
}

t_status Access_GetPlaylistElements(t_handle handle, t_content_categories category,
                                    std::uint32_t start, std::uint32_t count,
                                    t_playlist_items_list& elements) {
  elements = {};
  return call(handle, __func__, [&](Device& device) {
    if (category == CATEGORY_PLAYLISTS) {
      fill(elements, part(device.playlists(), start, count));
    } else if (category == CATEGORY_TRACKS) {
      fill(elements, selectedTracks(device, start, count));
    } else {
      return STATUS_NOT_OK;
    }
    return STATUS_OK;
  });
}

t_status Command_ResetCategory(t_handle handle) {
  return call(handle, __func__, [](Device& device) {
    device.resetSelection();
    return STATUS_OK;
  });
}

t_status Command_SelectCategory(t_handle handle, t_content_categories category,
                                std::uint32_t index) {
  return call(handle, __func__, [&](Device& device) {
    return category == CATEGORY_PLAYLISTS ? device.selectPlaylist(index) : STATUS_NOT_OK;
  });
}

t_status Access_GetTrackTitle(t_handle handle, t_track_id id, char* buffer) {
  buffer[0] = '\0';
  return call(handle, __func__, [&](Device& device) {
    if (const auto name = device.playlistName(id)) {
      write(*name, buffer);
      return STATUS_OK;
    }
    DeviceTags tags;
    const t_status status = device.tags(id, tags, WhenBusy::Answer);
    write(tags.title, buffer);
    return status;
  });
}

t_status Access_GetTrackArtist(t_handle handle, t_track_id id, char* buffer) {
  return writeTag(handle, __func__, id, &DeviceTags::artist, buffer);
}

t_status Access_GetTrackAlbum(t_handle handle, t_track_id id, char* buffer) {
  return writeTag(handle, __func__, id, &DeviceTags::album, buffer);
}

t_status Access_GetTrackGenre(t_handle handle, t_track_id id, char* buffer) {
  return writeTag(handle, __func__, id, &DeviceTags::genre, buffer);
}

t_status Access_GetTrackComposer(t_handle handle, t_track_id id, char* buffer) {
  return writeTag(handle, __func__, id, &DeviceTags::composer, buffer);
}

t_status Access_GetTrackFileName(t_handle handle, t_track_id id, char* buffer) {
  buffer[0] = '\0';
  return withObject(handle, __func__, id,
                    [&](const DeviceObject& object) { write(object.name, buffer); });
}

t_status Access_GetTrackDateModified(t_handle handle, t_track_id id, char* buffer) {
  buffer[0] = '\0';
  return withObject(handle, __func__, id, [&](const DeviceObject& object) {
    write(asctimeText(object.modified), buffer);
  });
}

t_status Access_GetTrackAlbumTrackIndex(t_handle handle, t_track_id id, std::uint16_t& index) {
  index = 0;
  return call(handle, __func__, [&](Device& device) {
    DeviceTags tags;
    const t_status status = device.tags(id, tags, WhenBusy::Wait);
    index = tags.trackNumber;
    return status;
  });
}

t_status Access_GetTrackFileSize(t_handle handle, t_track_id id, std::uint64_t& size) {
  size = 0;
  return withObject(handle, __func__, id, [&](const DeviceObject& object) { size = object.size; });
}

}  // namespace orvel
