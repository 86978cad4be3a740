#pragma once

#include <cstdint>
#include <string>

#include "phones/DeviceTypes.h"

namespace orvel {

class Device;

/// The texts of an object that a caller can ask for.
enum class TrackText { Title, Artist, Album, Genre, Composer, FileName, DateModified };

/// The calls of Access.h for one device, which must outlive this object and be open. Access.h
/// documents each call. Any thread. A call that fails leaves its results as the caller initialised
/// them.
class DeviceCalls {
 public:
  explicit DeviceCalls(Device& calledDevice) : device(calledDevice) {}
  virtual ~DeviceCalls() = default;
  DeviceCalls(const DeviceCalls&) = delete;
  DeviceCalls& operator=(const DeviceCalls&) = delete;

  virtual t_status getNumItems(const t_mtp_container& container, t_mtp_item_type type,
                               std::uint32_t& count);
  virtual t_status getItems(const t_mtp_container& container, t_mtp_item_type type,
                            std::uint32_t start, std::uint32_t count, t_mtp_item_list& items);

  virtual t_status getNumElements(t_content_categories category, std::uint32_t& count);
  virtual t_status getPlaylistElements(t_content_categories category, std::uint32_t start,
                                       std::uint32_t count, t_playlist_items_list& elements);
  virtual t_status resetCategory();
  virtual t_status selectCategory(t_content_categories category, std::uint32_t index);

  virtual t_status getTrackText(TrackText which, t_track_id id, std::string& text);
  virtual t_status getTrackAlbumTrackIndex(t_track_id id, std::uint16_t& index);
  virtual t_status getTrackFileSize(t_track_id id, std::uint64_t& size);

 protected:
  Device& device;
};

}  // namespace orvel
