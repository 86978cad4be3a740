#pragma once

#include <string>
#include <string_view>

/// The SQL texts of the stages. Their runs of blanks are part of the texts. The texts of the
/// database manager are in ManagerSqlTexts.h.
namespace orvel::sql {

/// Before the writes of a block.
inline constexpr char kBeginTransaction[] = "BEGIN TRANSACTION;";

/// After the writes of a block.
inline constexpr char kEndTransaction[] = "END TRANSACTION;";

/// One song.
inline constexpr char kInsertSong[] =
    "INSERT INTO SONGS (PARTITION_ID,                                        "
    "PATH,                                        "
    "OBJECTID,                                        "
    "DIRECTORYID,                                        "
    "NAME,                                        "
    "TITLE,                                        "
    "ARTISTID,                                        "
    "ALBUMID,                                        "
    "GENREID,                                        "
    "COMPOSERID,                                        "
    "AUDIOTYPE,                                        "
    "BOOKMARK,                                        "
    "LASTMODIFIED,                                       "
    "TRACKIND,                                       "
    "DISCNUM,                                       "
    "ASIANTITLE                                         "
    ")                                        "
    "VALUES                                        "
    "(?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?,                                        "
    "?);";

/// The details of one song by its row id. COVER is NULL for `CoverPlace::Unknown`.
inline constexpr char kInsertSongDetails[] =
    "INSERT INTO SONGDETAILS (ID, DURATION, YEAR, ALBUMARTIST, COVER)"
    " VALUES (?, ?, ?, ?, NULLIF(?, 3));";

/// The songs without a picture of their own, and whether one lies beside them.
inline constexpr char kSelectFolderPictures[] =
    "SELECT ID, COVER IS 2 FROM SONGDETAILS WHERE COVER IS NOT 1 ORDER BY ID;";

/// Makes the next request read a song again, in the transaction that lost a part of it.
inline constexpr char kForgetModification[] = "UPDATE SONGS SET LASTMODIFIED = -1 WHERE PATH = ?;";

/// One genre.
inline constexpr char kReplaceGenre[] =
    "REPLACE INTO GENRES (GENREID ,                                        "
    "GENRE,                                        "
    "ASIANGENRE                                       "
    ")                                        "
    "VALUES                                        "
    "(?,                                        "
    "?,                                        "
    "?);";

/// One album.
inline constexpr char kReplaceAlbum[] =
    "REPLACE INTO ALBUMS (ALBUMID  "
    ",                                        "
    "ALBUM,                                        "
    "ASIANALBUM                                       "
    ")                                        "
    "VALUES                                        "
    "(?,                                        "
    "?,                                        "
    "?);";

/// One artist.
inline constexpr char kReplaceArtist[] =
    "REPLACE INTO ARTISTS (ARTISTID,                                        "
    "ARTIST,                                        "
    "ASIANARTIST                                       "
    ")                                        "
    "VALUES                                        "
    "(?,                                        "
    "?,                                        "
    "?);";

/// One composer.
inline constexpr char kReplaceComposer[] =
    "REPLACE INTO COMPOSERS (COMPOSERID  "
    ",                                        "
    "COMPOSER,                                        "
    "ASIANCOMPOSER                                       "
    ")                                        "
    "VALUES                                        "
    "(?,                                        "
    "?,                                        "
    "?);";

/// Deletes artists, albums, genres and composers that no song refers to.
inline constexpr char kCleanNames[] =
    "BEGIN TRANSACTION; DELETE FROM ARTISTS WHERE ARTISTID NOT IN ( SELECT DISTINCT ARTISTID "
    "FROM SONGS);DELETE FROM ALBUMS WHERE ALBUMID NOT IN ( SELECT DISTINCT ALBUMID FROM "
    "SONGS);DELETE FROM GENRES WHERE GENREID NOT IN ( SELECT DISTINCT GENREID FROM "
    "SONGS);DELETE FROM COMPOSERS WHERE COMPOSERID NOT IN ( SELECT DISTINCT COMPOSERID FROM "
    "SONGS);COMMIT;";

/// Deletes the details of songs that others have replaced.
inline constexpr char kCleanDetails[] =
    "BEGIN;DELETE FROM SONGDETAILS WHERE ID NOT IN (SELECT ID FROM SONGS);COMMIT;";

/// One directory.
inline constexpr char kInsertDirectory[] =
    "INSERT INTO DIRECTORIES (PARTITION_ID, PATH,  "
    "NAME, OBJECTID, PARENT_ID)                                             "
    "VALUES (?,?,?,?,?);";

/// Followed by a path pattern and kOrderByObjectId.
inline constexpr char kSelectDirectoryIds[] = "SELECT OBJECTID FROM DIRECTORIES WHERE PATH LIKE ";

/// Followed by a path pattern.
inline constexpr char kDeleteDirectories[] = "DELETE FROM DIRECTORIES WHERE PATH LIKE ";

/// For an MTP device, whose directories are replaced as a whole.
inline constexpr char kDeleteAllDirectories[] = "DELETE FROM DIRECTORIES;";

/// Directories of an MTP device.
inline constexpr char kSelectDirectoryPaths[] = "SELECT PATH FROM DIRECTORIES;";

/// Followed by a path pattern.
inline constexpr char kSelectSongs[] =
    "SELECT ID,LASTMODIFIED, PATH  "
    "FROM SONGS WHERE PATH LIKE ";

/// Songs of an MTP device.
inline constexpr char kSelectAllSongs[] = "SELECT ID, LASTMODIFIED, PATH FROM SONGS;";

/// Stores status ?3 of partition ?1 with mount point ?2, in the current generation where it is new.
inline constexpr char kUpsertStatus[] =
    "INSERT INTO PARTITIONS (PARTITION_ID, MOUNTPOINT, STATUS, GENERATION)"
    " VALUES (?1, ?2, ?3, (SELECT COALESCE(MAX(GENERATION), 0) FROM PARTITIONS))"
    " ON CONFLICT(PARTITION_ID) DO UPDATE SET STATUS = excluded.STATUS;";

/// 1 when there are partitions and all have the status "OK", else 0.
inline constexpr char kSelectAllComplete[] =
    "SELECT COALESCE(MIN(STATUS = 'OK'), 0) FROM PARTITIONS;";

/// 1 when there are no names and no playlists, else 0.
inline constexpr char kSelectNothingShared[] =
    "SELECT NOT (EXISTS (SELECT 1 FROM ARTISTS) OR EXISTS (SELECT 1 FROM ALBUMS)"
    " OR EXISTS (SELECT 1 FROM GENRES) OR EXISTS (SELECT 1 FROM COMPOSERS)"
    " OR EXISTS (SELECT 1 FROM PLAYLISTS));";

/// The identifiers that a song shares with other rows, by row id.
inline constexpr char kSelectSongIdentifiers[] =
    "SELECT ARTISTID, ALBUMID, GENREID, COMPOSERID, OBJECTID FROM SONGS WHERE ID = ?;";

/// By row id.
inline constexpr char kDeleteSong[] = "DELETE FROM SONGS WHERE ID = ?;";

/// Followed by a path pattern.
inline constexpr char kSelectPlaylists[] =
    "SELECT ID, LASTMODIFIED, PLAYPATH FROM VIEW_PLAYLISTNAMES WHERE PLAYPATH LIKE ";

/// Playlists of an MTP device.
inline constexpr char kSelectAllPlaylists[] =
    "SELECT ID, LASTMODIFIED, PLAYPATH FROM VIEW_PLAYLISTNAMES;";

/// The whole playlist of one row.
inline constexpr char kDeletePlaylist[] =
    "DELETE FROM PLAYLISTS WHERE PLAYID IN ( SELECT PLAYID FROM PLAYLISTS WHERE ID = ? );";

/// One entry of a playlist.
inline constexpr char kInsertPlaylistEntry[] =
    "INSERT INTO PLAYLISTS(PARTITION_ID, PLAYPATH, PLAYID, PLAYNAME, TRACKPATH, TRACKID, "
    "AUDIOTYPE, LASTMODIFIED) VALUES (?, ?, ?, ?, ?, ?, ?, ?);";

/// Deletes playlist entries whose song is gone.
inline constexpr char kClearPlaylists[] =
    "BEGIN TRANSACTION; DELETE FROM PLAYLISTS WHERE TRACKID NOT IN (SELECT OBJECTID from "
    "SONGS);COMMIT;";

/// The tail of kSelectDirectoryIds.
inline constexpr char kOrderByObjectId[] = " ORDER BY OBJECTID;";

/// Completes a text that ends in "LIKE " with a double-quoted pattern for everything below `prefix`
/// and with `tail`. The prefix is not escaped: "_" and "%" in it match more than themselves. A
/// double quote, which would end the pattern and run the rest of a volume label as SQL, becomes
/// "_".
std::string withPathPattern(std::string_view sql, std::string_view prefix,
                            std::string_view tail = ";");

}  // namespace orvel::sql
