#pragma once

#include "db/SqlStream.h"

namespace orvel {

/// Runs a clean-up, a text with its own BEGIN and COMMIT that deletes the rows without a song, at
/// the end of a request; runs nothing where it could not find a row.
/// @param out             open on the device's database; loses its query
/// @param hasChangedRows  whether the request deleted or stored songs or playlists
/// @return true when no such row is left
bool cleanUp(sqlstl::basic_sqlostream<char>& out, const char* sql, bool hasChangedRows);

}  // namespace orvel
