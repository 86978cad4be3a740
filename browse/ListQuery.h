#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvel::browse {

enum class ListKind { Songs, Artists, Albums, Genres, Composers, Directories, Playlists };

/// The kinds by the names that people use for them.
const std::map<std::string, ListKind>& listKinds();

/// Selects everything of one kind that matches all filters. Filters compare exactly, including
/// case; a playlist and a directory match by name or path.
struct ListQuery {
  ListKind kind = ListKind::Songs;
  std::optional<std::string> artist;
  std::optional<std::string> album;
  std::optional<std::string> genre;
  std::optional<std::string> playlist;
  std::optional<std::string> directory;
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

/// Makes the listing for a query. The connection that runs it needs the collation UTF8.
Listing listingFor(const ListQuery& query);

}  // namespace orvel::browse
