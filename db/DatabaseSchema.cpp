#include "db/DatabaseSchema.h"

#include <optional>
#include <string>
#include <utility>

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "db/ManagerSqlTexts.h"

namespace orvel::databaseSchema {

namespace {

/// Everything that the database defines, as one text; nothing when it cannot be read.
std::optional<std::string> definition(DatabaseFile& database) {
  const auto parts = database.texts(sql::kSchemaDefinition);
  if (!parts) return std::nullopt;
  std::string all;
  for (const std::string& part : *parts) all.append(part).append(";\n");
  return all;
}

struct OwnDefinition {
  std::string earlier;  ///< without what was added since the first release
  std::string complete;
};

bool create(DatabaseFile& database) {
  // Where WAL is refused, an ordinary journal serves as well.
  database.exec(sql::kPrepareFile);
  return database.execTransaction(sql::kCreateSchema);
}

bool add(DatabaseFile& database) {
  return database.execTransaction(sql::kAddDetails);
}

std::optional<OwnDefinition> makeOwnDefinition() {
  DatabaseFile scratch(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  if (!create(scratch)) return std::nullopt;
  auto earlier = definition(scratch);
  if (!earlier || !add(scratch)) return std::nullopt;
  auto complete = definition(scratch);
  if (!complete) return std::nullopt;
  return OwnDefinition{std::move(*earlier), std::move(*complete)};
}

/// This library's own definition, made once. Nothing while memory is too short for it; the next
/// call tries again.
std::optional<OwnDefinition> ownDefinition() {
  struct Known {
    Mutex mutex;
    std::optional<OwnDefinition> definition ORVEL_GUARDED_BY(mutex);
  };
  static NoDestructor<Known> own;
  const MutexLock lock(own->mutex);
  if (!own->definition) own->definition = makeOwnDefinition();
  return own->definition;
}

/// Only damage condemns an unreadable database; a lock or a lack of memory passes.
Content contentAfterError(const DatabaseFile& database) {
  const int code = database.errorCode();
  return code == SQLITE_NOTADB || code == SQLITE_CORRUPT ? Content::Foreign : Content::Unknown;
}

/// True also when the version cannot be read: such a database is not a new one.
bool hasSchema(sqlite3* connection) {
  sqlite::Statement version;
  return version.prepare(connection, sql::kSchemaVersion) != SQLITE_OK ||
         version.step() != SQLITE_ROW || version.columnInt(0) != 0;
}

}  // namespace

Content probe(DatabaseFile& database) {
  const auto versions = database.texts(sql::kSchemaVersion);
  if (!versions || versions->empty()) return contentAfterError(database);
  const auto found = definition(database);
  if (!found) return contentAfterError(database);
  if (found->empty() && versions->front() == "0") return Content::Empty;
  if (versions->front() != "1") return Content::Foreign;
  const auto own = ownDefinition();
  if (!own) return Content::Unknown;
  if (*found == own->complete) return Content::Ours;
  return *found == own->earlier ? Content::Earlier : Content::Foreign;
}

bool complete(DatabaseFile& database) {
  const Content content = probe(database);
  if (content == Content::Empty && !create(database)) return false;
  return (content != Content::Empty && content != Content::Earlier) || add(database);
}

void ensure(sqlite3* connection) {
  if (hasSchema(connection)) return;
  DatabaseFile own(sqlite3_db_filename(connection, "main"));
  if (probe(own) == Content::Empty) complete(own);
}

}  // namespace orvel::databaseSchema
