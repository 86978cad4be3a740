#pragma once

#include <orvel/DeviceHandle.h>

#include <cstdint>

/// The types of the device-access library: plain values and C structures.
namespace orvel {

using t_status = std::int32_t;
inline constexpr t_status STATUS_OK = 0;
/// The object or category is unknown, or the device refused the request.
inline constexpr t_status STATUS_NOT_OK = -1;
inline constexpr t_status STATUS_NOT_SUPPORTED = -2;
/// The handle is unknown, or its device is gone.
inline constexpr t_status STATUS_NOT_OK_BAD_HANDLE = -3;
inline constexpr t_status STATUS_NOT_OK_GENERIC_PLUGIN_ERROR = -4;
/// The library is not initialised, or the device cannot be opened.
inline constexpr t_status STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED = -5;
/// Busy with an earlier request: repeat the call.
inline constexpr t_status STATUS_BUSY = -7;

enum t_content_categories : std::uint32_t { CATEGORY_PLAYLISTS = 1, CATEGORY_TRACKS = 5 };

/// The place whose items are listed.
struct t_mtp_container {
  std::uint32_t kind;     ///< one of the CONTAINER_ values
  std::uint32_t id;       ///< of the folder; 0 is the storage's root
  std::uint32_t storage;  ///< id of the storage
};
inline constexpr std::uint32_t CONTAINER_DEVICE = 0;
inline constexpr std::uint32_t CONTAINER_FOLDER = 2;
/// The closing call of a walk over the whole device.
inline constexpr std::uint32_t CONTAINER_WALK_DONE = 10;

/// The kind of the items to list, or of one item.
using t_mtp_item_type = std::uint32_t;
inline constexpr t_mtp_item_type TYPE_FILE = 0;
inline constexpr t_mtp_item_type TYPE_FOLDER = 6;
inline constexpr t_mtp_item_type TYPE_STORAGE = 7;
inline constexpr t_mtp_item_type TYPE_OBJECT = 8;
inline constexpr t_mtp_item_type TYPE_WALK_DONE = 9;

struct t_mtp_item {
  char* name;  ///< allocated with malloc; the receiver frees it
  std::uint32_t id;
  t_mtp_item_type type;
};

/// The array is allocated with malloc for each call; the receiver frees it.
struct t_mtp_item_list {
  std::uint32_t count;
  t_mtp_item* items;
};

struct t_playlist_item {
  char* text;  ///< allocated with malloc; the receiver frees it
  std::uint32_t id;
  std::uint32_t reserved;
};

/// The array is allocated with malloc for each call; the receiver frees it.
struct t_playlist_items_list {
  std::uint32_t count;
  t_playlist_item* items;
};

}  // namespace orvel
