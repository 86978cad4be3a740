#pragma once

#include <cstddef>
#include <cstdint>

#include "phones/DeviceTypes.h"

/// The calls of the device-access library. Any thread may make them; requests to one device run one
/// after the other. Only GetNumItems, GetItems, GetTrackFileName and GetTrackTitle answer
/// STATUS_BUSY; all others wait until the device is free. A call on a stage's thread returns at
/// once with STATUS_NOT_OK_GENERIC_PLUGIN_ERROR when the stage is stopped; its request to the
/// device goes on in the background. Once a device is gone every call answers
/// STATUS_NOT_OK_BAD_HANDLE without a request to it.
namespace orvel {

/// Size of the buffer for a text. Texts are UTF-8, cut between characters to fit, and end with NUL.
/// On failure the text is empty.
inline constexpr std::size_t kAccessTextBytes = 256;

/// Counts the storages of the device (CONTAINER_DEVICE, TYPE_STORAGE), which begins a new walk, or
/// the objects in a folder (CONTAINER_FOLDER, TYPE_OBJECT), which lists the folder on the device.
t_status Access_GetNumItems(t_handle handle, const t_mtp_container& container,
                            const t_mtp_item_type& type, std::uint32_t& count);
/// Returns at most `count` of these items from `start` on. CONTAINER_WALK_DONE with TYPE_WALK_DONE
/// ends a walk and makes the tracks and playlists that it found available.
t_status Access_GetItems(t_handle handle, const t_mtp_container& container,
                         const t_mtp_item_type& type, const std::uint32_t& start,
                         const std::uint32_t& count, t_mtp_item_list& items);

/// Counts the tracks or playlists that the last walk found, or the tracks of the selected playlist.
t_status Access_GetNumElements(t_handle handle, t_content_categories category,
                               std::uint32_t& count);
/// Returns at most `count` of them from `start` on, tracks in the order of their paths. The list is
/// empty on failure.
t_status Access_GetPlaylistElements(t_handle handle, t_content_categories category,
                                    std::uint32_t start, std::uint32_t count,
                                    t_playlist_items_list& elements);
/// Ends the calling thread's selection of a playlist.
t_status Command_ResetCategory(t_handle handle);
/// Selects the playlist with object id `index` for the calling thread: CATEGORY_TRACKS lists its
/// members until the selection or the walk ends.
t_status Command_SelectCategory(t_handle handle, t_content_categories category,
                                std::uint32_t index);

// Each writes at most kAccessTextBytes, including the NUL. The title may also be asked of a
// playlist.
t_status Access_GetTrackTitle(t_handle handle, t_track_id id, char* buffer);
t_status Access_GetTrackArtist(t_handle handle, t_track_id id, char* buffer);
t_status Access_GetTrackAlbum(t_handle handle, t_track_id id, char* buffer);
t_status Access_GetTrackGenre(t_handle handle, t_track_id id, char* buffer);
t_status Access_GetTrackComposer(t_handle handle, t_track_id id, char* buffer);
t_status Access_GetTrackFileName(t_handle handle, t_track_id id, char* buffer);
/// In the form of asctime(3) without the line feed; "Thu Jan  1 00:00:00 1970" when unknown.
t_status Access_GetTrackDateModified(t_handle handle, t_track_id id, char* buffer);
/// 0 when unknown.
t_status Access_GetTrackAlbumTrackIndex(t_handle handle, t_track_id id, std::uint16_t& index);
/// In bytes.
t_status Access_GetTrackFileSize(t_handle handle, t_track_id id, std::uint64_t& size);

}  // namespace orvel
