#pragma once

/// The SQL texts with which the database manager creates, checks and maintains a device's database,
/// and sets connections up. The stages' statements are in SqlTexts.h.
namespace orvel::sql {

/// In WAL mode commits keep their order without a flush for each; the one at the end of a request
/// makes them durable.
inline constexpr char kBeginWrite[] = "PRAGMA synchronous=NORMAL; BEGIN IMMEDIATE;";
inline constexpr char kCommit[] = "COMMIT;";
inline constexpr char kRollBack[] = "ROLLBACK;";

/// For a stage's connection. Several stages have a connection each: half of the default cache, in
/// KiB, costs no time.
inline constexpr char kTuneStage[] = "PRAGMA synchronous=NORMAL; PRAGMA cache_size=-1000;";

/// Before the first table. `auto_vacuum` lets `kFreePages` give space back to the file system. WAL
/// lets hosts read while the indexer writes. Pages larger than SQLite's default halve the number of
/// system calls. Until the schema is there, a power cut can only cost an empty file: no flushes.
inline constexpr char kPrepareFile[] =
    "PRAGMA synchronous=OFF;"
    "PRAGMA page_size=8192; PRAGMA auto_vacuum=INCREMENTAL; PRAGMA journal_mode=WAL;";

/// The schema, which the file is compared with each time it is opened for a request, but for
/// `kAddDetails`.
///
/// The conflict clauses keep a step from failing: one bad row must not drop the rest of its block.
/// PLAYLISTS has no unique key on purpose: the last entry of each playlist is stored twice, and
/// VIEW_PLAYLISTENTRIES leaves out trailing rows that equal their predecessor. The one index serves
/// the deletion of a playlist; no other index pays for itself. The tables of names keep their row
/// ids although they would be smaller without: with them, the integrity check notices a page of one
/// table in the place of another's.
inline constexpr char kCreateSchema[] = R"sql(
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
CREATE TABLE UNDELIVERED(
  PARTITION_ID TEXT NOT NULL,
  PATH TEXT NOT NULL,
  PRIMARY KEY(PARTITION_ID, PATH)) WITHOUT ROWID;
PRAGMA user_version=1;
COMMIT;
)sql";

/// The part of the schema that databases of earlier releases lack, and gain with their next
/// request. A song's row goes with the song, but not with one that another replaces: a trigger for
/// that would slow each insertion down, see `kCleanDetails`. The check lets the integrity check
/// notice a page of another table in the place of one of this.
inline constexpr char kAddDetails[] = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE SONGDETAILS(
  ID INTEGER PRIMARY KEY,
  DURATION INTEGER NOT NULL CHECK(typeof(DURATION) = 'integer'),
  YEAR INTEGER NOT NULL,
  ALBUMARTIST TEXT NOT NULL,
  COVER INTEGER);
CREATE TRIGGER SONGDETAILS_OF_DELETED AFTER DELETE ON SONGS
  BEGIN DELETE FROM SONGDETAILS WHERE ID = OLD.ID; END;
COMMIT;
)sql";

/// 0 where no schema was created yet.
inline constexpr char kSchemaVersion[] = "PRAGMA user_version;";

/// One row for each table, index and view.
inline constexpr char kSchemaDefinition[] =
    "SELECT type || ' ' || name || ' ' || sql FROM sqlite_schema WHERE sql IS NOT NULL"
    " AND name <> 'sqlite_sequence' ORDER BY name;";

/// One row, "ok" or the first damage found.
inline constexpr char kCheckIntegrity[] = "PRAGMA integrity_check(1);";

/// Changes, for the connection that asks, with each commit of another one.
inline constexpr char kDataVersion[] = "PRAGMA data_version;";

/// Enters partition ?1 with mount point ?2; ?3 is 1 when a new generation begins, else 0. Only the
/// order of generations counts: writes nothing when the partition is newer than every other one
/// already, or as new where no generation begins.
inline constexpr char kEnterPartition[] =
    "INSERT INTO PARTITIONS (PARTITION_ID, MOUNTPOINT, GENERATION) VALUES (?1, ?2,"
    " (SELECT COALESCE(MAX(GENERATION), 0) FROM PARTITIONS) + ?3)"
    " ON CONFLICT(PARTITION_ID) DO UPDATE SET GENERATION = excluded.GENERATION"
    " WHERE EXISTS (SELECT 1 FROM PARTITIONS AS OTHER WHERE OTHER.PARTITION_ID <> ?1"
    " AND OTHER.GENERATION + ?3 > PARTITIONS.GENERATION);";

/// Makes the next request read the playlists of an unfinished partition again: their entries were
/// cleaned up while songs were missing.
inline constexpr char kForgetPlaylists[] =
    "UPDATE PLAYLISTS SET LASTMODIFIED = -1 WHERE PARTITION_ID = ?1 AND EXISTS"
    " (SELECT 1 FROM PARTITIONS WHERE PARTITION_ID = ?1 AND STATUS = 'PROGRESS');";

inline constexpr char kSelectStatus[] = "SELECT STATUS FROM PARTITIONS WHERE PARTITION_ID = ?;";

/// Needs no new page.
inline constexpr char kUpdateStatus[] =
    "UPDATE PARTITIONS SET STATUS = ?2 WHERE PARTITION_ID = ?1;";

/// Folders and playlists that the device did not deliver to the last request of a partition.
inline constexpr char kSelectUndelivered[] = "SELECT PATH FROM UNDELIVERED WHERE PARTITION_ID = ?;";
inline constexpr char kDeleteUndelivered[] = "DELETE FROM UNDELIVERED WHERE PARTITION_ID = ?;";
inline constexpr char kInsertUndelivered[] =
    "INSERT OR IGNORE INTO UNDELIVERED (PARTITION_ID, PATH) VALUES (?, ?);";

/// The mount points that are older than the current generation, except ?1.
inline constexpr char kSelectOlderPartitions[] =
    "SELECT MOUNTPOINT FROM PARTITIONS WHERE MOUNTPOINT <> ?1"
    " AND GENERATION < (SELECT MAX(GENERATION) FROM PARTITIONS);";

/// Everything that belongs to one partition, table by table, but the partition itself.
inline constexpr const char* kEmptyPartition[] = {
    "DELETE FROM SONGS WHERE PARTITION_ID = ?;",
    "DELETE FROM PLAYLISTS WHERE PARTITION_ID = ?;",
    "DELETE FROM DIRECTORIES WHERE PARTITION_ID = ?;",
    kDeleteUndelivered,
};

inline constexpr char kDeletePartition[] = "DELETE FROM PARTITIONS WHERE PARTITION_ID = ?;";

/// Keeps the partitions themselves, without a status.
inline constexpr char kDeleteAll[] =
    "BEGIN IMMEDIATE; DELETE FROM SONGDETAILS; DELETE FROM SONGS; DELETE FROM ARTISTS; DELETE FROM "
    "ALBUMS;"
    " DELETE FROM GENRES; DELETE FROM COMPOSERS; DELETE FROM DIRECTORIES;"
    " DELETE FROM PLAYLISTS; DELETE FROM UNDELIVERED; UPDATE PARTITIONS SET STATUS = ''; COMMIT;";

/// Bytes in pages that hold rows.
inline constexpr char kUsedBytes[] =
    "SELECT (page_count - freelist_count) * page_size"
    " FROM pragma_page_count, pragma_freelist_count, pragma_page_size;";

/// Gives the pages of deleted rows back to the file system.
inline constexpr char kFreePages[] = "PRAGMA incremental_vacuum;";

/// In exclusive mode the index of the log is no file, and with the journal in memory a change
/// overwrites its page.
inline constexpr char kWriteInPlace[] =
    "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=MEMORY;";
inline constexpr char kWriteAhead[] = "PRAGMA journal_mode=WAL;";

}  // namespace orvel::sql
