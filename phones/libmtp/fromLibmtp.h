#pragma once

#include <libmtp.h>

#include <cstdint>
#include <string>

#include "phones/DeviceSession.h"

/// Converts libmtp's records into those of DeviceSession.h.
namespace orvel::libmtp {

/// Empty for null.
std::string textOf(const char* text);
/// Frees `text`.
std::string takeText(char* text);

DeviceStorage storageOf(const LIBMTP_devicestorage_t& storage);
DeviceObject objectOf(const LIBMTP_file_t& file, std::uint32_t storage);
DeviceTags tagsOf(const LIBMTP_track_t& track);

}  // namespace orvel::libmtp
