#include "qml/MediaReading.h"

#include <orvel/Collation.h>

#include <QFileInfo>
#include <QHash>
#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <tuple>

#include "browse/Search.h"
#include "qml/CoverProvider.h"
#include "qml/firstLetter.h"

namespace orvel::qml {

namespace {

using browse::ListKind;
using browse::ListQuery;

/// How many finds a screen is given; people type another letter instead of scrolling further.
constexpr std::uint32_t kMostFinds = 200;

QString textOf(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

const std::map<std::string_view, Role>& rolesOfColumns() {
  static const std::map<std::string_view, Role> roles = {
      {"path", Role::Path},           {"name", Role::Name},
      {"title", Role::Title},         {"artist", Role::Artist},
      {"album", Role::Album},         {"album_artist", Role::AlbumArtist},
      {"genre", Role::Genre},         {"composer", Role::Composer},
      {"track", Role::Track},         {"disc", Role::Disc},
      {"year", Role::Year},           {"duration", Role::Duration},
      {"directory", Role::Directory}, {"parent", Role::Parent},
      {"songs", Role::Songs},         {"entries", Role::Entries},
      {"position", Role::Position}};
  return roles;
}

/// Adds columns that screens need to a listing of browse: "sort" to songs; "artist", when there is
/// but one, and "cover", the path of a song, to albums; it is one
/// that has a cover, if any has.
browse::Listing withMoreColumns(ListKind kind, browse::Listing listing) {
  using Column = browse::Column;
  if (kind == ListKind::Songs) {
    // In front, because the listing may end with columns that it does not name.
    listing.select = "SELECT T.ASIANTITLE, L.* FROM (" + listing.select +
                     ") L LEFT JOIN SONGS T ON T.PATH = L.PATH AND T.OBJECTID = L.OBJECTID";
    listing.columns.insert(listing.columns.begin(), {"sort", Column::Kind::Text});
  } else if (kind == ListKind::Albums) {
    listing.select =
        "SELECT L.*, M.ARTIST, M.PATH FROM (" + listing.select +
        ") L LEFT JOIN (SELECT B.ALBUM AS ALBUM,"
        " COALESCE(MIN(CASE WHEN D.COVER > 0 THEN S.PATH END),"
        " MIN(CASE WHEN D.COVER IS NULL THEN S.PATH END)) AS PATH,"
        " CASE WHEN MIN(R.ARTIST) = MAX(R.ARTIST) THEN MIN(R.ARTIST) END AS ARTIST FROM SONGS S"
        " JOIN ALBUMS B ON B.ALBUMID = S.ALBUMID LEFT JOIN ARTISTS R ON R.ARTISTID = S.ARTISTID"
        " LEFT JOIN SONGDETAILS D ON D.ID = S.ID GROUP BY B.ALBUM) M ON M.ALBUM = L.ALBUM";
    listing.columns.push_back({"artist", Column::Kind::Text});
    listing.columns.push_back({"cover", Column::Kind::Path});
  }
  return listing;
}

/// Where a device is mounted.
class Roots {
 public:
  explicit Roots(const browse::MediaDatabase& database) {
    for (const auto& partition : database.partitions()) roots.push_back(partition.mountPoint);
  }

  /// The mount point above a path; a phone's paths do not begin with it.
  [[nodiscard]] std::string_view above(std::string_view path) const {
    for (const std::string& root : roots) {
      if (path.starts_with(root)) return root;
    }
    return roots.empty() ? std::string_view() : roots.front();
  }

  /// Whether a path lies in a hidden folder of the device.
  [[nodiscard]] bool isHidden(std::string_view path) const {
    if (path.starts_with(above(path))) path.remove_prefix(above(path).size());
    return path.starts_with('.') || path.find("/.") != std::string_view::npos;
  }

 private:
  std::vector<std::string> roots;
};

/// Makes rows of a database's.
class RowMaker {
 public:
  RowMaker(const Roots& deviceRoots, bool areFinds) : roots(deviceRoots), withKind(areFinds) {}

  MediaRow make(const char* kind, const std::vector<browse::Column>& columns,
                const browse::Row& cells) const {
    MediaRow row;
    std::string_view path;
    bool hasNoCover = false;
    row.values.reserve(columns.size() + 1);
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::string_view name = columns[i].name;
      if (const auto* text = std::get_if<std::string_view>(&cells[i])) {
        if (name == "path" || name == "cover") path = *text;
        if (name == "sort") row.sortText = *text;
        addText(row, name, *text);
      } else if (const auto* number = std::get_if<std::int64_t>(&cells[i])) {
        if (name == "cover") hasNoCover = *number == 0;
        addNumber(row, name, *number);
      }
    }
    finish(row, kind, path);
    const bool isPictured = std::string_view(kind) == "songs" || std::string_view(kind) == "albums";
    if (isPictured && !hasNoCover && !path.empty()) {
      row.values.emplace_back(Role::Cover, coverSource(roots.above(path), path));
    }
    return row;
  }

 private:
  static void addText(MediaRow& row, std::string_view name, std::string_view text) {
    const auto role = rolesOfColumns().find(name);
    if (role != rolesOfColumns().end()) row.values.emplace_back(role->second, textOf(text));
  }

  static void addNumber(MediaRow& row, std::string_view name, std::int64_t number) {
    const auto role = rolesOfColumns().find(name);
    if (role == rolesOfColumns().end()) return;
    row.values.emplace_back(role->second, static_cast<qlonglong>(number));
  }

  void finish(MediaRow& row, const char* kind, std::string_view path) const {
    const bool isSong = std::string_view(kind) == "songs";
    const bool isPlaylist = std::string_view(kind) == "playlists";
    const QString name = row.value(Role::Name).toString();
    row.label = isSong ? row.value(Role::Title).toString() : name;
    const bool needsFileName = isPlaylist || (isSong && row.label.isEmpty());
    if (needsFileName) row.label = QFileInfo(name).completeBaseName();
    if (row.sortText.empty()) row.sortText = row.label.toStdString();
    row.letter = firstLetter(QString::fromStdString(row.sortText));
    // A root folder has no letter's place.
    const QString place = row.value(Role::Path).toString();
    row.key = place.isEmpty() ? name : place;
    if (const QVariant position = row.value(Role::Position); position.isValid()) {
      row.key += QLatin1Char('\n') + position.toString();
    }
    row.isHidden = isSong || std::string_view(kind) == "directories" ? roots.isHidden(path) : false;
    if (withKind) {
      row.key = QLatin1String(kind) + QLatin1Char('\n') + row.key;
      row.values.emplace_back(Role::Kind, QString::fromLatin1(kind));
    }
  }

  const Roots& roots;
  const bool withKind;
};

int compareTexts(const std::string& text, const std::string& other) {
  return collation_utf8(nullptr, static_cast<int>(text.size()), text.data(),
                        static_cast<int>(other.size()), other.data());
}

bool isBeforeByName(const MediaRowPointer& row, const MediaRowPointer& other) {
  if (row->isHidden != other->isHidden) return other->isHidden;
  if (row->letter != other->letter) return isLetterBefore(row->letter, other->letter);
  const int order = compareTexts(row->sortText, other->sortText);
  return order != 0 ? order < 0 : row->key < other->key;
}

bool isBeforeByTrack(const MediaRowPointer& row, const MediaRowPointer& other) {
  for (const Role role : {Role::Disc, Role::Track}) {
    const qlonglong number = row->value(role).toLongLong();
    const qlonglong otherNumber = other->value(role).toLongLong();
    if (number != otherNumber) return number < otherNumber;
  }
  return isBeforeByName(row, other);
}

/// Sorts unless the database's own order counts.
void sortRows(const ListQuery& query, MediaRows& rows) {
  if (query.kind == ListKind::Songs && query.playlist) return;
  const bool isAlbum = query.kind == ListKind::Songs && query.album;
  std::sort(rows.begin(), rows.end(), isAlbum ? isBeforeByTrack : isBeforeByName);
}

/// Keeps the first of rows that views could not tell apart.
void dropDoubles(MediaRows& rows) {
  QHash<QString, int> times;
  std::erase_if(rows, [&](const MediaRowPointer& row) { return times[row->key]++ != 0; });
}

bool isWanted(const MediaQuery& query, const MediaRow& row) {
  return !query.parent || row.value(Role::Parent).toString() == textOf(*query.parent);
}

std::set<ListKind> searchedKinds() {
  std::set<ListKind> kinds;
  for (const auto& [name, kind] : browse::listKinds()) kinds.insert(kind);
  return kinds;
}

}  // namespace

bool MediaQuery::operator==(const MediaQuery& other) const {
  const auto parts = [](const MediaQuery& query) {
    const ListQuery& list = query.list;
    return std::tie(query.database, list.kind, list.artist, list.album, list.genre, list.playlist,
                    list.directory, list.composer, query.parent, query.words);
  };
  return parts(*this) == parts(other);
}

MediaRows readMedia(const MediaQuery& query, const std::function<bool()>& isCanceled) {
  const browse::MediaDatabase database(query.database);
  const Roots roots(database);
  const bool areFinds = !query.words.empty();
  const RowMaker maker(roots, areFinds);
  MediaRows rows;
  const auto add = [&](const char* kind, const std::vector<browse::Column>& columns,
                       const browse::Row& cells) {
    auto row = std::make_shared<MediaRow>(maker.make(kind, columns, cells));
    if (isWanted(query, *row)) rows.push_back(std::move(row));
    return !isCanceled();
  };
  if (areFinds) {
    browse::search(database, query.words, searchedKinds(), {{}, 0, kMostFinds}, add);
  } else {
    const browse::Listing listing =
        withMoreColumns(query.list.kind, browse::listingFor(query.list));
    const bool isOrdered = query.list.kind == ListKind::Songs && query.list.playlist.has_value();
    const char* const kind = browse::nameOf(query.list.kind).c_str();
    database.query(listing.select + (isOrdered ? " ORDER BY L.POSITION" : ""), listing.parameters,
                   [&](const browse::Row& cells) { return add(kind, listing.columns, cells); });
    if (!isCanceled()) sortRows(query.list, rows);
  }
  dropDoubles(rows);
  return rows;
}

}  // namespace orvel::qml
