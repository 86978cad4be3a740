#include "db/DatabaseSchema.h"

#include <optional>
#include <string>

#include "base/Mutex.h"

namespace orvel::databaseSchema {

namespace {

// Pages freed by deletions go back to the file system when the database is synced; the setting must
// come before the first table. WAL lets hosts read while the indexer writes. Larger pages than
// SQLite's own take half of the system calls.
constexpr char kPrepareFile[] =
    "PRAGMA page_size=8192; PRAGMA auto_vacuum=INCREMENTAL; PRAGMA journal_mode=WAL;";

// The conflict clauses keep a step from failing: one bad row must not drop the rest of its block.
// PLAYLISTS has no unique key on purpose: the last entry of each playlist is stored twice. Of the
// possible indexes only the one that serves the deletion of a playlist pays. The tables of names
// would be smaller without row ids, but then nothing would tell that one's page stands in place of
// another's. VIEW_PLAYLISTENTRIES leaves trailing rows that equal their predecessor out.
constexpr char kCreate[] = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE SONGS(
  ID INTEGER PRIMARY KEY AUTOINCREMENT,
  PARTITION_ID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  PATH TEXT NOT NULL ON CONFLICT IGNORE,
  OBJECTID TEXT NOT NULL ON CONFLICT IGNORE,
  DIRECTORYID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  NAME TEXT,
  TITLE TEXT,
  ARTISTID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  ALBUMID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  GENREID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  COMPOSERID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  AUDIOTYPE INTEGER,
  BOOKMARK INTEGER,
  LASTMODIFIED INTEGER NOT NULL ON CONFLICT REPLACE DEFAULT 0,
  TRACKIND INTEGER,
  DISCNUM INTEGER,
  ASIANTITLE TEXT,
  UNIQUE(PATH, OBJECTID) ON CONFLICT REPLACE);
CREATE TABLE ARTISTS(ARTISTID TEXT PRIMARY KEY NOT NULL, ARTIST TEXT, ASIANARTIST TEXT);
CREATE TABLE ALBUMS(ALBUMID TEXT PRIMARY KEY NOT NULL, ALBUM TEXT, ASIANALBUM TEXT);
CREATE TABLE GENRES(GENREID TEXT PRIMARY KEY NOT NULL, GENRE TEXT, ASIANGENRE TEXT);
CREATE TABLE COMPOSERS(COMPOSERID TEXT PRIMARY KEY NOT NULL, COMPOSER TEXT, ASIANCOMPOSER TEXT);
CREATE TABLE DIRECTORIES(
  PARTITION_ID TEXT,
  PATH TEXT,
  NAME TEXT,
  OBJECTID TEXT NOT NULL ON CONFLICT IGNORE UNIQUE ON CONFLICT REPLACE,
  PARENT_ID TEXT);
CREATE TABLE PLAYLISTS(
  ID INTEGER PRIMARY KEY AUTOINCREMENT,
  PARTITION_ID TEXT,
  PLAYPATH TEXT NOT NULL ON CONFLICT IGNORE,
  PLAYID TEXT,
  PLAYNAME TEXT,
  TRACKPATH TEXT,
  TRACKID TEXT NOT NULL ON CONFLICT REPLACE DEFAULT '',
  AUDIOTYPE INTEGER,
  LASTMODIFIED INTEGER);
CREATE INDEX PLAYLISTS_PLAYID ON PLAYLISTS(PLAYID);
CREATE VIEW VIEW_PLAYLISTNAMES AS
  SELECT MIN(ID) AS ID, PARTITION_ID, PLAYID, PLAYNAME, PLAYPATH,
         MAX(LASTMODIFIED) AS LASTMODIFIED
  FROM PLAYLISTS GROUP BY PLAYID;
CREATE VIEW VIEW_PLAYLISTENTRIES AS
  SELECT ID, PARTITION_ID, PLAYPATH, PLAYID, PLAYNAME, TRACKPATH, TRACKID, AUDIOTYPE, LASTMODIFIED
  FROM (SELECT *, LAG(TRACKPATH) OVER (PARTITION BY PLAYID ORDER BY ID) AS BEFORE,
               MIN(TRACKPATH) OVER REST AS LOWEST, MAX(TRACKPATH) OVER REST AS HIGHEST
        FROM PLAYLISTS
        WINDOW REST AS (PARTITION BY PLAYID ORDER BY ID
                        ROWS BETWEEN CURRENT ROW AND UNBOUNDED FOLLOWING))
  WHERE BEFORE IS NOT TRACKPATH OR LOWEST <> HIGHEST;
CREATE TABLE PARTITIONS(
  PARTITION_ID TEXT PRIMARY KEY NOT NULL,
  MOUNTPOINT TEXT NOT NULL,
  STATUS TEXT NOT NULL DEFAULT '',
  GENERATION INTEGER NOT NULL DEFAULT 0);
PRAGMA user_version=1;
COMMIT;
)sql";

/// The definition of everything in the database, in one text; nothing when it cannot be read.
std::optional<std::string> definition(DatabaseFile& database) {
  const auto parts = database.texts(
      "SELECT type || ' ' || name || ' ' || sql FROM sqlite_schema WHERE sql IS NOT NULL AND name "
      "NOT"
      " LIKE 'sqlite%' ORDER BY name;",
      {});
  if (!parts) return std::nullopt;
  std::string all;
  for (const std::string& part : *parts) all.append(part).append(";\n");
  return all;
}

/// This library's own definition. Nothing, to be tried again, when there is no memory for it:
/// compared with half of it every database would seem foreign.
std::optional<std::string> ownDefinition() {
  static Mutex mutex;
  static std::optional<std::string> own;
  const MutexLock lock(mutex);
  if (!own) {
    DatabaseFile scratch(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    if (create(scratch)) own = definition(scratch);
  }
  return own;
}

/// What a database that cannot be read is taken for: an error of the moment says nothing about it.
Content contentAfterError(const DatabaseFile& database) {
  const int code = sqlite3_errcode(database.handle());
  return code == SQLITE_NOTADB || code == SQLITE_CORRUPT ? Content::Foreign : Content::Unknown;
}

}  // namespace

Content probe(DatabaseFile& database) {
  const auto versions = database.texts("PRAGMA user_version;", {});
  if (!versions || versions->empty()) return contentAfterError(database);
  const auto found = definition(database);
  if (!found) return contentAfterError(database);
  if (found->empty() && versions->front() == "0") return Content::Empty;
  if (versions->front() != "1") return Content::Foreign;
  const auto own = ownDefinition();
  if (!own) return Content::Unknown;
  return *found == *own ? Content::Ours : Content::Foreign;
}

bool create(DatabaseFile& database) {
  // Where WAL is refused the ordinary journal serves as well.
  database.exec(kPrepareFile);
  if (database.exec(kCreate)) return true;
  if (sqlite3_get_autocommit(database.handle()) == 0) database.exec("ROLLBACK;");
  return false;
}

}  // namespace orvel::databaseSchema
