#pragma once

#include "db/DatabaseFile.h"

namespace orvel::databaseSchema {

/// What a file that should hold a device's database really holds.
enum class Content {
  Empty,    ///< nothing yet: the schema can be created
  Ours,     ///< this library's schema
  Foreign,  ///< another schema, or no database at all
  Unknown,  ///< could not be read now, for example because it is locked
};

Content probe(DatabaseFile& database);

/// Creates every table, index and view; false on failure, logged.
bool create(DatabaseFile& database);

}  // namespace orvel::databaseSchema
