#include "search/SearchTexts.h"

#include <sqlite3.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <stdexcept>
#include <tuple>

#include "search/NameFolder.h"

namespace orvel {

namespace {

using search::kNothing;

/// Added to the rank of a word that is found in a name of this kind instead of the song's title.
constexpr std::array<std::pair<Search::Kind, unsigned>, 5> kDistances{
    {{Search::Kind::Artist, 2},
     {Search::Kind::Album, 4},
     {Search::Kind::Composer, 6},
     {Search::Kind::Directory, 8},
     {Search::Kind::Playlist, 10}}};

constexpr unsigned kNoRank = UINT_MAX;

std::string_view textAt(const sqlite::Statement& row, int column) {
  const char* const text = row.columnText(column);
  return text == nullptr ? std::string_view() : std::string_view(text, row.columnBytes(column));
}

/// The digests in identifiers are random enough, and no two names share a hash by chance.
std::size_t digestOf(std::string_view id) {
  return std::hash<std::string_view>()(id);
}

void improve(unsigned& rank, unsigned candidate) {
  rank = std::min(rank, candidate);
}

}  // namespace

SearchTexts::SearchTexts(sqlite3* database) : connection(database) {
  search::NameFolder folder;
  readNames(Kind::Artist, "SELECT rowid, ARTISTID, ARTIST, ASIANARTIST FROM ARTISTS", folder);
  readNames(Kind::Album, "SELECT rowid, ALBUMID, ALBUM, ASIANALBUM FROM ALBUMS", folder);
  readNames(Kind::Genre, "SELECT rowid, GENREID, GENRE, ASIANGENRE FROM GENRES", folder);
  readNames(Kind::Composer, "SELECT rowid, COMPOSERID, COMPOSER, ASIANCOMPOSER FROM COMPOSERS",
            folder);
  readNames(Kind::Directory, "SELECT rowid, OBJECTID, NAME, '' FROM DIRECTORIES", folder);
  readNames(Kind::Playlist, "SELECT ID, PLAYID, PLAYNAME, '' FROM VIEW_PLAYLISTNAMES", folder);
  readSongs(folder);
  folder.finish();
  for (Names& kind : names) {
    kind.places = {};
    kind.pool.shrink();
  }
}

void SearchTexts::forEachRow(const char* sql, const std::string& parameter,
                             const std::function<void(const sqlite::Statement&)>& use) const {
  sqlite::Statement statement;
  int result = statement.prepare(connection, sql);
  if (result == SQLITE_OK && !parameter.empty()) result = statement.bind(1, parameter);
  if (result == SQLITE_OK) {
    while ((result = statement.step()) == SQLITE_ROW) use(statement);
  }
  if (result != SQLITE_DONE) {
    throw std::runtime_error(std::string("The database cannot be searched (") +
                             sqlite3_errmsg(connection) + ").");
  }
}

void SearchTexts::readNames(Kind kind, const char* sql, search::NameFolder& folder) {
  Names& read = of(kind);
  forEachRow(sql, "", [&](const sqlite::Statement& row) {
    read.places.emplace(digestOf(textAt(row, 1)), static_cast<std::uint32_t>(read.rows.size()));
    read.rows.push_back(row.columnInt64(0));
    folder.add(read.pool, textAt(row, 2), textAt(row, 3));
  });
  read.songs.resize(read.rows.size());
}

std::uint32_t SearchTexts::placeOf(Kind kind, std::string_view id, LastName& last) {
  Names& known = of(kind);
  if (id != last.id) {
    const auto found = known.places.find(digestOf(id));
    last = {std::string(id), found == known.places.end() ? kNone : found->second};
  }
  if (last.place != kNone) ++known.songs[last.place];
  return last.place;
}

void SearchTexts::readSongs(search::NameFolder& folder) {
  // A song without title is known by the name of its file.
  constexpr char kSongs[] =
      "SELECT ID, CASE TITLE WHEN '' THEN NAME ELSE TITLE END, ASIANTITLE, ARTISTID, ALBUMID,"
      " COMPOSERID, DIRECTORYID, GENREID FROM SONGS ORDER BY ID";
  constexpr std::array<Kind, 5> kColumns{Kind::Artist, Kind::Album, Kind::Composer, Kind::Directory,
                                         Kind::Genre};
  std::array<LastName, kColumns.size()> last;
  Names& titles = of(Kind::Song);
  forEachRow(kSongs, "", [&](const sqlite::Statement& row) {
    titles.rows.push_back(row.columnInt64(0));
    folder.add(titles.pool, textAt(row, 1), textAt(row, 2));
    Song song;
    song.fill(kNone);
    for (std::size_t i = 0; i < kColumns.size(); ++i) {
      song[static_cast<std::size_t>(kColumns[i])] =
          placeOf(kColumns[i], textAt(row, 3 + static_cast<int>(i)), last[i]);
    }
    songs.push_back(song);
  });
  songs.shrink_to_fit();
}

void SearchTexts::readSongPlaces() {
  const Names& titles = of(Kind::Song);
  std::uint32_t place = 0;
  forEachRow("SELECT ID, OBJECTID FROM SONGS ORDER BY ID", "", [&](const sqlite::Statement& row) {
    const bool isKnown = place < titles.rows.size() && titles.rows[place] == row.columnInt64(0);
    if (isKnown) songPlaces.emplace(digestOf(textAt(row, 1)), place++);
  });
}

std::vector<SearchTexts::Found> SearchTexts::find(const std::vector<std::string_view>& words,
                                                  const std::vector<Kind>& kinds) {
  std::vector<Found> hits;
  for (std::size_t i = 0; i < kKinds; ++i) {
    const Kind kind = static_cast<Kind>(i);
    const bool isWanted =
        kinds.empty() || std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
    if (!isWanted) continue;
    if (kind == Kind::Song) {
      addSongs(words, hits);
    } else {
      addNames(kind, words, hits);
    }
  }
  return hits;
}

void SearchTexts::addNames(Kind kind, const std::vector<std::string_view>& words,
                           std::vector<Found>& hits) {
  const Names& searched = of(kind);
  Ranks ranks(searched.rows.size());
  for (const std::string_view word : words) {
    const std::vector<std::uint8_t> grades = searched.pool.gradesFor(word);
    for (std::size_t i = 0; i < ranks.size(); ++i) {
      ranks[i] = ranks[i] == kNoRank || grades[i] == kNothing ? kNoRank : ranks[i] + grades[i];
    }
  }
  for (std::size_t i = 0; i < ranks.size(); ++i) {
    if (ranks[i] == kNoRank) continue;
    hits.push_back(
        {{kind, searched.rows[i], ranks[i], searched.songs[i]}, static_cast<std::uint32_t>(i)});
  }
}

SearchTexts::Ranks SearchTexts::songRanks(std::string_view word) {
  const std::vector<std::uint8_t> titles = of(Kind::Song).pool.gradesFor(word);
  Ranks ranks(songs.size(), kNoRank);
  for (std::size_t i = 0; i < ranks.size(); ++i) {
    if (titles[i] != kNothing) ranks[i] = titles[i];
  }
  for (const auto& [kind, distance] : kDistances) {
    const std::vector<std::uint8_t> grades = of(kind).pool.gradesFor(word);
    if (kind == Kind::Playlist) {
      for (std::uint32_t list = 0; list < grades.size(); ++list) {
        if (grades[list] == kNothing) continue;
        for (const std::uint32_t song : songsOf(list))
          improve(ranks[song], distance + grades[list]);
      }
      continue;
    }
    if (std::all_of(grades.begin(), grades.end(), [](auto grade) { return grade == kNothing; })) {
      continue;
    }
    for (std::size_t i = 0; i < ranks.size(); ++i) {
      const std::uint32_t place = songs[i][static_cast<std::size_t>(kind)];
      if (place != kNone && grades[place] != kNothing) improve(ranks[i], distance + grades[place]);
    }
  }
  return ranks;
}

void SearchTexts::addSongs(const std::vector<std::string_view>& words, std::vector<Found>& hits) {
  Ranks sums(songs.size());
  for (const std::string_view word : words) {
    const Ranks ranks = songRanks(word);
    for (std::size_t i = 0; i < sums.size(); ++i) {
      sums[i] = sums[i] == kNoRank || ranks[i] == kNoRank ? kNoRank : sums[i] + ranks[i];
    }
  }
  const Names& titles = of(Kind::Song);
  for (std::size_t i = 0; i < sums.size(); ++i) {
    if (sums[i] == kNoRank) continue;
    hits.push_back({{Kind::Song, titles.rows[i], sums[i], 0}, static_cast<std::uint32_t>(i)});
  }
}

const std::vector<std::uint32_t>& SearchTexts::songsOf(std::uint32_t playlist) {
  const auto known = members.find(playlist);
  if (known != members.end()) return known->second;
  std::vector<std::uint32_t>& places = members[playlist];
  if (songPlaces.empty()) readSongPlaces();
  forEachRow(
      "SELECT DISTINCT TRACKID FROM PLAYLISTS WHERE PLAYID = (SELECT PLAYID FROM PLAYLISTS WHERE"
      " ID = ?)",
      std::to_string(of(Kind::Playlist).rows[playlist]), [&](const sqlite::Statement& row) {
        const auto song = songPlaces.find(digestOf(textAt(row, 0)));
        if (song != songPlaces.end()) places.push_back(song->second);
      });
  return places;
}

void SearchTexts::sort(std::vector<Found>& hits, std::size_t count) const {
  const auto isBefore = [&](const Found& a, const Found& b) {
    if (a.hit.rank != b.hit.rank || a.hit.kind != b.hit.kind) {
      return std::tie(a.hit.rank, a.hit.kind) < std::tie(b.hit.rank, b.hit.kind);
    }
    const search::FoldedPool& pool = of(a.hit.kind).pool;
    const int order = pool[a.place].compare(pool[b.place]);
    return order == 0 ? a.hit.row < b.hit.row : order < 0;
  };
  const std::size_t sorted = std::min(count, hits.size());
  std::partial_sort(hits.begin(), hits.begin() + static_cast<std::ptrdiff_t>(sorted), hits.end(),
                    isBefore);
}

std::size_t SearchTexts::memory() const {
  constexpr std::size_t kMapEntry = sizeof(std::pair<Digest, std::uint32_t>) + 2 * sizeof(void*);
  std::size_t bytes = songs.capacity() * sizeof(Song) + songPlaces.size() * kMapEntry;
  for (const Names& kind : names) {
    bytes += kind.pool.memory() + kind.rows.capacity() * sizeof kind.rows[0] +
             kind.songs.capacity() * sizeof kind.songs[0];
  }
  for (const auto& [playlist, places] : members) bytes += places.capacity() * sizeof places[0];
  return bytes;
}

}  // namespace orvel
