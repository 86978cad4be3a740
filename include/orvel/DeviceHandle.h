#pragma once

#include <cstdint>

/// Identifies an attached MTP device within this process; 0 means no device.
using t_device_handle = std::uint32_t;

namespace orvel {

/// Identifies an attached MTP device within this process; 0 means no device.
using t_handle = ::t_device_handle;

/// Identifies an object (track, folder, playlist) on a device for one session with it.
using t_track_id = std::uint32_t;

}  // namespace orvel
