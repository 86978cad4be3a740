#pragma once

#include "db/DatabaseFile.h"

namespace orvel::databaseSchema {

/// The content of a file that should hold a device's database.
enum class Content {
  Empty,    ///< no schema yet: it can be created
  Ours,     ///< this library's schema
  Earlier,  ///< the same, without the later additions: it can be completed
  Foreign,  ///< another schema, or no database at all
  Unknown,  ///< not readable now, for example because it is locked
};

/// Compares the schema of the file with this library's.
Content probe(DatabaseFile& database);

/// Creates the missing tables and indexes of an empty or earlier database; false on failure,
/// logged.
bool complete(DatabaseFile& database);

/// Creates the schema in the database of `connection` if it is still empty, over a connection of
/// its own. A failure is logged; the caller's statements will then fail for want of their tables.
void ensure(sqlite3* connection);

}  // namespace orvel::databaseSchema
