#pragma once

#include "db/SqlStream.h"
#include "db/sqlite/Connection.h"

namespace orvel {

/// True where every partition is complete: then the rows of earlier requests need no clean-up.
bool isCleanedUp(sqlite::Connection& database);

/// Runs a clean-up, a text with its own BEGIN and COMMIT that deletes the rows without a song, at
/// the end of a request.
/// @param out  open on the device's database; loses its query
/// @return true when no such row is left
bool cleanUp(sqlstl::basic_sqlostream<char>& out, const char* sql);

}  // namespace orvel
