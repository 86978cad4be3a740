#include "phones/Access.h"

#include <cstring>
#include <memory>
#include <string>

#include "phones/AccessText.h"
#include "phones/DeviceCalls.h"
#include "phones/DeviceList.h"

namespace orvel {

namespace {

/// Looks up the device and runs `use` on its calls, unless the device is gone or not open.
template <class Use>
t_status call(t_handle handle, Use use) {
  const std::shared_ptr<Device> device = DeviceList::instance().find(handle);
  if (device == nullptr) return STATUS_NOT_OK_BAD_HANDLE;
  const t_status status = device->checkOpen();
  return status == STATUS_OK ? use(device->calls()) : status;
}

t_status writeText(t_handle handle, TrackText which, t_track_id id, char* buffer) {
  std::string text;
  const t_status status =
      call(handle, [&](DeviceCalls& calls) { return calls.getTrackText(which, id, text); });
  const std::string written = accessText(text);
  std::memcpy(buffer, written.c_str(), written.size() + 1);
  return status;
}

}  // namespace

t_status Access_GetNumItems(t_handle handle, const t_mtp_container& container,
                            const t_mtp_item_type& type, std::uint32_t& count) {
  count = 0;
  return call(handle,
              [&](DeviceCalls& calls) { return calls.getNumItems(container, type, count); });
}

t_status Access_GetItems(t_handle handle, const t_mtp_container& container,
                         const t_mtp_item_type& type, const std::uint32_t& start,
                         const std::uint32_t& count, t_mtp_item_list& items) {
  items = {};
  return call(handle, [&](DeviceCalls& calls) {
    return calls.getItems(container, type, start, count, items);
  });
}

t_status Access_GetNumElements(t_handle handle, t_content_categories category,
                               std::uint32_t& count) {
  count = 0;
  return call(handle, [&](DeviceCalls& calls) { return calls.getNumElements(category, count); });
}

t_status Access_GetPlaylistElements(t_handle handle, t_content_categories category,
                                    std::uint32_t start, std::uint32_t count,
                                    t_playlist_items_list& elements) {
  elements = {};
  return call(handle, [&](DeviceCalls& calls) {
    return calls.getPlaylistElements(category, start, count, elements);
  });
}

t_status Command_ResetCategory(t_handle handle) {
  return call(handle, [](DeviceCalls& calls) { return calls.resetCategory(); });
}

t_status Command_SelectCategory(t_handle handle, t_content_categories category,
                                std::uint32_t index) {
  return call(handle, [&](DeviceCalls& calls) { return calls.selectCategory(category, index); });
}

t_status Access_GetTrackTitle(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::Title, id, buffer);
}

t_status Access_GetTrackArtist(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::Artist, id, buffer);
}

t_status Access_GetTrackAlbum(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::Album, id, buffer);
}

t_status Access_GetTrackGenre(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::Genre, id, buffer);
}

t_status Access_GetTrackComposer(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::Composer, id, buffer);
}

t_status Access_GetTrackFileName(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::FileName, id, buffer);
}

t_status Access_GetTrackDateModified(t_handle handle, t_track_id id, char* buffer) {
  return writeText(handle, TrackText::DateModified, id, buffer);
}

t_status Access_GetTrackAlbumTrackIndex(t_handle handle, t_track_id id, std::uint16_t& index) {
  index = 0;
  return call(handle, [&](DeviceCalls& calls) { return calls.getTrackAlbumTrackIndex(id, index); });
}

t_status Access_GetTrackFileSize(t_handle handle, t_track_id id, std::uint64_t& size) {
  size = 0;
  return call(handle, [&](DeviceCalls& calls) { return calls.getTrackFileSize(id, size); });
}

}  // namespace orvel
