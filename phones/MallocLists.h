#pragma once

#include <vector>

#include "phones/DeviceSession.h"
#include "phones/DeviceTypes.h"

/// Builds the C lists of DeviceTypes.h, whose texts and array the receiver frees with free(3).
/// Throws std::bad_alloc when memory runs out.
namespace orvel {

t_mtp_item_list mallocItems(const std::vector<DeviceStorage>& storages);
t_mtp_item_list mallocItems(const std::vector<DeviceObject>& objects);
t_playlist_items_list mallocElements(const std::vector<DevicePlaylist>& playlists);
t_playlist_items_list mallocElements(const std::vector<DeviceObject>& tracks);

}  // namespace orvel
