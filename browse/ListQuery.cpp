#include "browse/ListQuery.h"

#include <algorithm>

namespace orvel::browse {

namespace {

using Kind = Column::Kind;

/// The songs joined with every table that filters use.
std::string songsWithNames(const std::string& songs = "SONGS S") {
  return " FROM " + songs +
         " LEFT JOIN ARTISTS R ON R.ARTISTID = S.ARTISTID"
         " LEFT JOIN ALBUMS B ON B.ALBUMID = S.ALBUMID"
         " LEFT JOIN GENRES G ON G.GENREID = S.GENREID"
         " LEFT JOIN COMPOSERS C ON C.COMPOSERID = S.COMPOSERID"
         " LEFT JOIN DIRECTORIES D ON D.OBJECTID = S.DIRECTORYID"
         " LEFT JOIN SONGDETAILS T ON T.ID = S.ID";
}

/// A table of names that songs refer to.
struct NameTable {
  const char* table;
  const char* alias;
  const char* text;
  const char* sortForm;
};

/// The condition under which a parameter matches one of `names`.
std::string matching(const std::string& names, Match match) {
  return (match == Match::Exact ? "? IN (" : "BEGINS(?, ") + names + ")";
}

/// The playlists that a parameter names.
std::string playlistsMatching(Match match) {
  return " FROM PLAYLISTS WHERE " + matching("PLAYNAME, PLAYPATH", match);
}

/// Collects conditions and their parameters.
class Filter {
 public:
  explicit Filter(const ListQuery& query) : match(query.match) {
    add("R.ARTIST", query.artist);
    add("B.ALBUM", query.album);
    add("G.GENRE", query.genre);
    add("C.COMPOSER", query.composer);
    add("D.NAME, D.PATH", query.directory);
  }

  /// @param names  columns: the name, after it the path where there is one
  void add(const std::string& names, const std::optional<std::string>& value) {
    if (value) addCondition(matching(names, match), *value);
  }

  void addCondition(const std::string& condition, const std::string& parameter) {
    where += (where.empty() ? " WHERE " : " AND ") + condition;
    parameters.push_back(parameter);
  }

  std::string where;
  std::vector<std::string> parameters;

 private:
  Match match;
};

/// The filters of a listing that does not join playlists itself.
Filter filterWithPlaylist(const ListQuery& query) {
  Filter filter(query);
  if (query.playlist) {
    filter.addCondition("S.OBJECTID IN (SELECT TRACKID" + playlistsMatching(query.match) + ")",
                        *query.playlist);
  }
  return filter;
}

std::vector<Column> songColumns() {
  return {{"path", Kind::Path},
          {"name", Kind::Text, false},
          {"title", Kind::Text},
          {"artist", Kind::Text},
          {"album", Kind::Text},
          {"genre", Kind::Text},
          {"composer", Kind::Text},
          {"track", Kind::Number},
          {"disc", Kind::Number},
          {"directory", Kind::Path, false},
          {"object_id", Kind::Text, false},
          {"last_modified", Kind::Number, false},
          {"duration", Kind::Number, false},
          {"year", Kind::Number, false},
          {"album_artist", Kind::Text, false},
          {"cover", Kind::Number, false}};
}

constexpr char kSongCells[] =
    "SELECT S.PATH, S.NAME, S.TITLE, R.ARTIST, B.ALBUM, G.GENRE, C.COMPOSER, S.TRACKIND, S.DISCNUM,"
    " D.PATH, S.OBJECTID, S.LASTMODIFIED, T.DURATION, T.YEAR, T.ALBUMARTIST, T.COVER";

Listing songs(const ListQuery& query) {
  const Filter filter = filterWithPlaylist(query);
  return {songColumns(), std::string(kSongCells) + songsWithNames() + filter.where,
          "S.PATH COLLATE UTF8, S.ID", filter.parameters};
}

/// The songs of a playlist in its order. An entry joins its song by identifier, because the two may
/// spell the path differently; of several files whose paths differ only in case the exact one wins.
Listing songsOfPlaylist(const ListQuery& query) {
  const Filter filter(query);
  Listing listing{songColumns(), "", "E.PLAYPATH COLLATE UTF8, E.POSITION", {*query.playlist}};
  listing.columns.push_back({"position", Kind::Number, false});
  listing.select =
      "WITH ENTRIES AS (SELECT ID, PLAYPATH, TRACKPATH, TRACKID,"
      " ROW_NUMBER() OVER (PARTITION BY PLAYID ORDER BY ID) AS POSITION FROM VIEW_PLAYLISTENTRIES"
      " WHERE PLAYID IN (SELECT PLAYID" +
      playlistsMatching(query.match) + "))" + kSongCells +
      ", E.POSITION, MAX(S.PATH = E.TRACKPATH)" + songsWithNames() +
      " JOIN ENTRIES E ON E.TRACKID = S.OBJECTID" + filter.where + " GROUP BY E.ID";
  listing.parameters.insert(listing.parameters.end(), filter.parameters.begin(),
                            filter.parameters.end());
  return listing;
}

std::vector<Column> nameColumns() {
  return {{"name", Kind::Text}, {"sort", Kind::Text}, {"songs", Kind::Number}};
}

NameTable tableOf(ListKind kind) {
  switch (kind) {
    case ListKind::Albums:
      return {"ALBUMS", "B", "ALBUM", "ASIANALBUM"};
    case ListKind::Genres:
      return {"GENRES", "G", "GENRE", "ASIANGENRE"};
    case ListKind::Composers:
      return {"COMPOSERS", "C", "COMPOSER", "ASIANCOMPOSER"};
    default:
      return {"ARTISTS", "R", "ARTIST", "ASIANARTIST"};
  }
}

Listing names(const ListQuery& query, const NameTable& table) {
  const Filter filter = filterWithPlaylist(query);
  const std::string text = std::string(table.alias) + "." + table.text;
  return {nameColumns(),
          "SELECT " + text + ", " + table.alias + "." + table.sortForm + ", COUNT(*)" +
              songsWithNames() + filter.where + " GROUP BY " + text,
          text + " COLLATE UTF8, " + text, filter.parameters};
}

std::vector<Column> directoryColumns() {
  return {
      {"path", Kind::Path}, {"name", Kind::Text}, {"parent", Kind::Path}, {"songs", Kind::Number}};
}

Listing directories(const ListQuery& query) {
  const Filter filter = filterWithPlaylist(query);
  return {directoryColumns(),
          "WITH COUNTS AS (SELECT S.DIRECTORYID AS ID, COUNT(*) AS SONGS" + songsWithNames() +
              filter.where +
              " GROUP BY S.DIRECTORYID)"
              " SELECT D.PATH, D.NAME, P.PATH, COALESCE(N.SONGS, 0) FROM DIRECTORIES D"
              " LEFT JOIN DIRECTORIES P ON P.OBJECTID = D.PARENT_ID" +
              (query.hasFilter() ? "" : " LEFT") + " JOIN COUNTS N ON N.ID = D.OBJECTID",
          "D.PATH COLLATE UTF8, D.PATH", filter.parameters};
}

std::vector<Column> playlistColumns() {
  return {{"name", Kind::Text}, {"path", Kind::Path}, {"entries", Kind::Number}};
}

/// With a filter on songs, counts only the entries that match it.
Listing playlists(const ListQuery& query) {
  Filter filter(query);
  const std::string onSongs = filter.where.empty() ? ""
                                                   : " WHERE E.TRACKID IN (SELECT S.OBJECTID" +
                                                         songsWithNames() + filter.where + ")";
  filter.where = onSongs;
  filter.add("E.PLAYNAME, E.PLAYPATH", query.playlist);
  return {playlistColumns(),
          "SELECT E.PLAYNAME, E.PLAYPATH, COUNT(*) FROM VIEW_PLAYLISTENTRIES E" + filter.where +
              " GROUP BY E.PLAYID",
          "E.PLAYNAME COLLATE UTF8, E.PLAYPATH", filter.parameters};
}

/// The listing of the rows of a table WANTED.
Listing wantedListing(ListKind kind) {
  switch (kind) {
    case ListKind::Songs:
      return {songColumns(),
              kSongCells + songsWithNames("WANTED W CROSS JOIN SONGS S ON S.ID = W.ROW"),
              "",
              {}};
    case ListKind::Directories:
      return {directoryColumns(),
              "SELECT D.PATH, D.NAME, P.PATH, W.SONGS FROM WANTED W CROSS JOIN DIRECTORIES D ON"
              " D.rowid = W.ROW LEFT JOIN DIRECTORIES P ON P.OBJECTID = D.PARENT_ID",
              "",
              {}};
    case ListKind::Playlists:
      return {playlistColumns(),
              "SELECT L.PLAYNAME, L.PLAYPATH, (SELECT COUNT(*) FROM VIEW_PLAYLISTENTRIES E WHERE"
              " E.PLAYID = L.PLAYID) FROM WANTED W CROSS JOIN PLAYLISTS L ON L.ID = W.ROW",
              "",
              {}};
    default: {
      const NameTable names = tableOf(kind);
      return {nameColumns(),
              std::string("SELECT N.") + names.text + ", N." + names.sortForm +
                  ", W.SONGS FROM WANTED W CROSS JOIN " + names.table + " N ON N.rowid = W.ROW",
              "",
              {}};
    }
  }
}

}  // namespace

const std::map<std::string, ListKind>& listKinds() {
  static const std::map<std::string, ListKind> kinds = {
      {"songs", ListKind::Songs},         {"artists", ListKind::Artists},
      {"albums", ListKind::Albums},       {"genres", ListKind::Genres},
      {"composers", ListKind::Composers}, {"directories", ListKind::Directories},
      {"playlists", ListKind::Playlists}};
  return kinds;
}

const std::string& nameOf(ListKind kind) {
  const auto& kinds = listKinds();
  return std::find_if(kinds.begin(), kinds.end(),
                      [kind](const auto& named) { return named.second == kind; })
      ->first;
}

Listing listingOf(ListKind kind, const std::vector<WantedRow>& rows) {
  std::string wanted;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    wanted += (i == 0 ? "(" : ",(") + std::to_string(i) + "," + std::to_string(rows[i].row) + "," +
              std::to_string(rows[i].songs) + ")";
  }
  Listing listing = wantedListing(kind);
  listing.select = "WITH WANTED(POSITION, ROW, SONGS) AS (VALUES " + wanted + ") " + listing.select;
  listing.order = "W.POSITION";
  return listing;
}

Listing listingFor(const ListQuery& query) {
  switch (query.kind) {
    case ListKind::Songs:
      return query.playlist ? songsOfPlaylist(query) : songs(query);
    case ListKind::Directories:
      return directories(query);
    case ListKind::Playlists:
      return playlists(query);
    default:
      return names(query, tableOf(query.kind));
  }
}

}  // namespace orvel::browse
