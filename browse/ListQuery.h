#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvel::browse {

enum class ListKind { Songs, Artists, Albums, Genres, Composers, Directories, Playlists };

/// The kinds by the names that people use for them.
const std::map<std::string, ListKind>& listKinds();

/// The name of a kind.
const std::string& nameOf(ListKind kind);

/// How filters compare.
enum class Match {
  Exact,     ///< the whole name, including case
  Beginning  ///< a beginning of the name, without regard to case, accents and width
};

/// Selects everything of one kind that matches all filters. A playlist and a directory match by
/// name, or by their whole path.
struct ListQuery {
  ListKind kind = ListKind::Songs;
  std::optional<std::string> artist;
  std::optional<std::string> album;
  std::optional<std::string> genre;
  std::optional<std::string> composer;
  std::optional<std::string> playlist;
  std::optional<std::string> directory;
  Match match = Match::Exact;

  [[nodiscard]] bool hasFilter() const {
    return artist || album || genre || composer || playlist || directory;
  }
};

/// One column of a listing.
struct Column {
  enum class Kind { Text, Path, Number };
  const char* name = "";
  Kind kind = Kind::Text;
  bool everywhere = true;  ///< false: only in formats that print every column
};

/// A statement whose result begins with `columns`.
struct Listing {
  std::vector<Column> columns;
  std::string select;  ///< without the order
  std::string order;   ///< terms for ORDER BY
  std::vector<std::string> parameters;
};

/// A row to be listed.
struct WantedRow {
  std::int64_t row = 0;     ///< rowid in the table of its kind; ID in VIEW_PLAYLISTNAMES
  std::uint32_t songs = 0;  ///< for the column of that name
};

/// Makes the listing of some rows of one kind, in their order. Only a MediaDatabase can run it.
Listing listingOf(ListKind kind, const std::vector<WantedRow>& rows);

/// Makes the listing for a query. Only a MediaDatabase can run it.
Listing listingFor(const ListQuery& query);

}  // namespace orvel::browse
