#include "phones/scripted/InterceptedCalls.h"

#include <cstdlib>

#include "phones/Device.h"

namespace orvel::scripted {

namespace {

/// The names of the calls, in the order of TrackText.
constexpr const char* kTextCalls[] = {"Access_GetTrackTitle",       "Access_GetTrackArtist",
                                      "Access_GetTrackAlbum",       "Access_GetTrackGenre",
                                      "Access_GetTrackComposer",    "Access_GetTrackFileName",
                                      "Access_GetTrackDateModified"};

/// Frees all items but the first `kept`.
void shorten(t_mtp_item_list& items, std::uint32_t kept) {
  if (items.items == nullptr) return;
  while (items.count > kept) std::free(items.items[--items.count].name);
}

}  // namespace

template <class Call>
t_status InterceptedCalls::intercept(const char* name, Call call) {
  const t_status status = enterCall(name);
  if (status == STATUS_NOT_OK_BAD_HANDLE) device.markGone();
  return status == STATUS_OK ? call() : status;
}

t_status InterceptedCalls::getNumItems(const t_mtp_container& container, t_mtp_item_type type,
                                       std::uint32_t& count) {
  return intercept("Access_GetNumItems", [&] {
    const t_status status = DeviceCalls::getNumItems(container, type, count);
    if (status == STATUS_OK) count = countItems(container, count);
    return status;
  });
}

t_status InterceptedCalls::getItems(const t_mtp_container& container, t_mtp_item_type type,
                                    std::uint32_t start, std::uint32_t count,
                                    t_mtp_item_list& items) {
  return intercept("Access_GetItems", [&] {
    const t_status status = DeviceCalls::getItems(container, type, start, count, items);
    const bool isPage = status == STATUS_OK && container.kind != CONTAINER_WALK_DONE;
    if (isPage) shorten(items, pageItems(container, items.count));
    return status;
  });
}

t_status InterceptedCalls::getNumElements(t_content_categories category, std::uint32_t& count) {
  return intercept("Access_GetNumElements",
                   [&] { return DeviceCalls::getNumElements(category, count); });
}

t_status InterceptedCalls::getPlaylistElements(t_content_categories category, std::uint32_t start,
                                               std::uint32_t count,
                                               t_playlist_items_list& elements) {
  return intercept("Access_GetPlaylistElements", [&] {
    return DeviceCalls::getPlaylistElements(category, start, count, elements);
  });
}

t_status InterceptedCalls::resetCategory() {
  return intercept("Command_ResetCategory", [&] { return DeviceCalls::resetCategory(); });
}

t_status InterceptedCalls::selectCategory(t_content_categories category, std::uint32_t index) {
  return intercept("Command_SelectCategory",
                   [&] { return DeviceCalls::selectCategory(category, index); });
}

t_status InterceptedCalls::getTrackText(TrackText which, t_track_id id, std::string& text) {
  return intercept(kTextCalls[static_cast<int>(which)],
                   [&] { return DeviceCalls::getTrackText(which, id, text); });
}

t_status InterceptedCalls::getTrackAlbumTrackIndex(t_track_id id, std::uint16_t& index) {
  return intercept("Access_GetTrackAlbumTrackIndex",
                   [&] { return DeviceCalls::getTrackAlbumTrackIndex(id, index); });
}

t_status InterceptedCalls::getTrackFileSize(t_track_id id, std::uint64_t& size) {
  return intercept("Access_GetTrackFileSize",
                   [&] { return DeviceCalls::getTrackFileSize(id, size); });
}

}  // namespace orvel::scripted
