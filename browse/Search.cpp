#include "browse/Search.h"

#include <orvel/Search.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace orvel::browse {

namespace {

using Kind = Search::Kind;
using Hits = std::vector<Search::Hit>;

constexpr std::array<std::pair<ListKind, Kind>, 7> kKinds{{{ListKind::Songs, Kind::Song},
                                                           {ListKind::Artists, Kind::Artist},
                                                           {ListKind::Albums, Kind::Album},
                                                           {ListKind::Genres, Kind::Genre},
                                                           {ListKind::Composers, Kind::Composer},
                                                           {ListKind::Directories, Kind::Directory},
                                                           {ListKind::Playlists, Kind::Playlist}}};

std::vector<Kind> kindsOf(const std::set<ListKind>& wanted) {
  std::vector<Kind> kinds;
  for (const auto& [listed, searched] : kKinds) {
    if (wanted.contains(listed)) kinds.push_back(searched);
  }
  return kinds;
}

ListKind listKindOf(Kind kind) {
  return std::find_if(kKinds.begin(), kKinds.end(),
                      [kind](const auto& pair) { return pair.second == kind; })
      ->first;
}

/// Hands out hits of one kind. False when no more are wanted.
bool receiveRows(const MediaDatabase& database, Hits::const_iterator begin,
                 Hits::const_iterator end, const HitReceiver& receive) {
  const ListKind kind = listKindOf(begin->kind);
  std::vector<WantedRow> rows;
  std::transform(begin, end, std::back_inserter(rows), [](const Search::Hit& hit) {
    return WantedRow{hit.row, hit.songs};
  });
  const Listing listing = listingOf(kind, rows);
  bool isWanted = true;
  database.query(listing.select + " ORDER BY " + listing.order, {}, [&](const Row& row) {
    return isWanted = receive(nameOf(kind).c_str(), listing.columns, row);
  });
  return isWanted;
}

}  // namespace

std::uint32_t search(const MediaDatabase& database, const std::string& words,
                     const std::set<ListKind>& kinds, const PageRequest& page,
                     const HitReceiver& receive) {
  if (kinds.empty()) return 0;
  Search::Result result;
  database.atOneMoment([&] {
    result = database.search(words, kindsOf(kinds), page.offset, page.count);
    bool isWanted = true;
    for (auto begin = result.hits.cbegin(); isWanted && begin != result.hits.cend();) {
      const auto end = std::find_if(begin, result.hits.cend(), [begin](const Search::Hit& hit) {
        return hit.kind != begin->kind;
      });
      isWanted = receiveRows(database, begin, end, receive);
      begin = end;
    }
  });
  return static_cast<std::uint32_t>(result.total);
}

}  // namespace orvel::browse
