#include "tests/faults/Contents.h"

#include "tests/support/rows.h"

namespace orvel::test {

namespace {

constexpr char kMusic[] =
    "SELECT 'song', S.PARTITION_ID, PATH, OBJECTID, DIRECTORYID, NAME, TITLE, ARTIST, ALBUM, GENRE,"
    " COMPOSER, AUDIOTYPE, BOOKMARK, LASTMODIFIED, TRACKIND, DISCNUM, ASIANTITLE, DURATION, YEAR,"
    " ALBUMARTIST, COVER FROM SONGS S LEFT JOIN SONGDETAILS USING (ID)"
    " LEFT JOIN ARTISTS USING (ARTISTID) LEFT JOIN ALBUMS USING (ALBUMID)"
    " LEFT JOIN GENRES USING (GENREID) LEFT JOIN COMPOSERS USING (COMPOSERID) ORDER BY PATH;"
    "SELECT 'entry', PARTITION_ID, PLAYPATH, PLAYID, PLAYNAME, TRACKPATH, TRACKID, AUDIOTYPE,"
    " LASTMODIFIED FROM PLAYLISTS ORDER BY PLAYID, ID;";

constexpr char kRest[] =
    "SELECT 'directory', PARTITION_ID, PATH, NAME, OBJECTID, PARENT_ID FROM DIRECTORIES"
    " ORDER BY OBJECTID;"
    "SELECT 'artist', * FROM ARTISTS ORDER BY ARTISTID;"
    "SELECT 'album', * FROM ALBUMS ORDER BY ALBUMID;"
    "SELECT 'genre', * FROM GENRES ORDER BY GENREID;"
    "SELECT 'composer', * FROM COMPOSERS ORDER BY COMPOSERID;"
    "SELECT 'partition', PARTITION_ID, MOUNTPOINT, STATUS FROM PARTITIONS ORDER BY PARTITION_ID;";

}  // namespace

std::vector<std::string> contentsOf(const std::string& database) {
  return rows(database, std::string(kMusic) + kRest);
}

std::vector<std::string> musicOf(const std::string& database) {
  return rows(database, kMusic);
}

std::string integrityOf(const std::string& database) {
  std::string found;
  for (const std::string& row : rows(database, "PRAGMA integrity_check;")) {
    found += (found.empty() ? "" : "\n") + row;
  }
  return found;
}

}  // namespace orvel::test
