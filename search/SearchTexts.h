#pragma once

#include <orvel/Search.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/sqlite/Statement.h"
#include "search/FoldedPool.h"

namespace orvel {

namespace search {
class NameFolder;
}

/// The folded texts of a database, and how its songs belong to names.
class SearchTexts {
 public:
  using Kind = Search::Kind;

  /// A hit, and the place of its name.
  struct Found {
    Search::Hit hit;
    std::uint32_t place = 0;
  };

  /// Reads them. Throws std::runtime_error when that fails.
  explicit SearchTexts(sqlite3* database);

  /// The hits for the words of a folded text, in no order.
  [[nodiscard]] std::vector<Found> find(const std::vector<std::string_view>& words,
                                        const std::vector<Kind>& kinds);
  /// Sorts the first `count` hits.
  void sort(std::vector<Found>& hits, std::size_t count) const;
  [[nodiscard]] std::size_t memory() const;

 private:
  static constexpr std::size_t kKinds = 7;
  static constexpr std::uint32_t kNone = UINT32_MAX;

  using Digest = std::size_t;

  /// The names of one kind, or the titles of the songs.
  struct Names {
    search::FoldedPool pool;
    std::vector<std::int64_t> rows;
    std::vector<std::uint32_t> songs;
    std::unordered_map<Digest, std::uint32_t> places;  ///< by identifier, while songs are read
  };
  /// The places of a song's names, by kind.
  using Song = std::array<std::uint32_t, kKinds>;
  /// The last identifier that was looked up: songs of one album follow each other.
  struct LastName {
    std::string id;
    std::uint32_t place = kNone;
  };
  /// The best grade of each song for a word, as far as it was looked at.
  using Ranks = std::vector<unsigned>;

  void readNames(Kind kind, const char* sql, search::NameFolder& folder);
  void readSongs(search::NameFolder& folder);
  void forEachRow(const char* sql, const std::string& parameter,
                  const std::function<void(const sqlite::Statement&)>& use) const;
  [[nodiscard]] std::uint32_t placeOf(Kind kind, std::string_view id, LastName& last);
  void readSongPlaces();

  void addNames(Kind kind, const std::vector<std::string_view>& words, std::vector<Found>& hits);
  void addSongs(const std::vector<std::string_view>& words, std::vector<Found>& hits);
  [[nodiscard]] Ranks songRanks(std::string_view word);
  /// The places of the songs in a playlist.
  const std::vector<std::uint32_t>& songsOf(std::uint32_t playlist);

  Names& of(Kind kind) { return names[static_cast<std::size_t>(kind)]; }
  [[nodiscard]] const Names& of(Kind kind) const { return names[static_cast<std::size_t>(kind)]; }

  sqlite3* connection;
  std::array<Names, kKinds> names;
  std::vector<Song> songs;
  std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> members;  ///< of playlists
  std::unordered_map<Digest, std::uint32_t> songPlaces;  ///< by identifier, for playlists
};

}  // namespace orvel
