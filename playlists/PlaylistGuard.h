#pragma once

#include "base/Descriptor.h"

namespace orvel {

/// Finds out why no parser is to read this file, wherever it runs. Returns a text for the log; null
/// if there is nothing against it or no file.
const char* misfitOfPlaylist(const Descriptor& file);

/// Finds out why the playlist parser must not see this file on the host's main loop: some files
/// would make it read for ever, for too long or out of bounds. Returns a text for the log; null if
/// the file is harmless. Any thread.
const char* harmOfPlaylist(const Descriptor& file);

}  // namespace orvel
