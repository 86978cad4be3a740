#pragma once

#include <orvel/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace orvel {

/// Makes the form of a text in which search compares, and in which a host can compare names as
/// people do: the words of the text, each after one blank, without case, accents and differences of
/// width. Kana become Latin letters by their sound; other scripts stay. Apostrophes vanish, other
/// marks end a word. A Han character and a change of script begin a word, too; there stands the
/// character U+0001. A text without letters and digits keeps its characters. Ill-formed UTF-8
/// becomes U+FFFD. Any thread; throws nothing but std::bad_alloc.
ORVEL_EXPORT std::string foldedText(std::string_view text);

class SearchTexts;

/// Finds songs and names in a device's database by the beginnings of words, as `foldedText` folds
/// them, and in the readings of Asian names.
///
/// The first call reads the texts of the database, later calls do so only when it has changed; a
/// second thread folds them and ends with the call. Their folded form stays in memory, about 80
/// bytes a song. Belongs to one thread at a time.
class ORVEL_EXPORT Search {
 public:
  enum class Kind : unsigned char { Artist, Album, Song, Playlist, Directory, Composer, Genre };

  struct Hit {
    Kind kind = Kind::Song;
    std::int64_t row = 0;     ///< the rowid in ARTISTS, SONGS and so on; ID in VIEW_PLAYLISTNAMES
    unsigned rank = 0;        ///< 0 is the best
    std::uint32_t songs = 0;  ///< how many belong to it; 0 for songs and playlists
  };

  /// The hits for some words, the best first.
  struct Result {
    std::vector<Hit> hits;  ///< those that were asked for
    std::size_t total = 0;  ///< how many there are
  };

  /// `connection` has the database open, for reading at least, and must outlive this object.
  explicit Search(sqlite3* connection);
  ~Search();
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  /// Finds what has every word of `words` at the beginning of a word: names of their own kind, and
  /// songs whose title, artist, album, composer, folder or playlists have the words together.
  ///
  /// The rank is the sum over the words. A whole word in the title or name counts 0, a beginning 1;
  /// in the artist 2 and 3, then in the album, the composer, the folder and a playlist 2 more each.
  /// Hits of one rank are sorted by kind, in the order of `Kind`, and by their folded names.
  /// @param kinds  empty: all
  /// @return `count` hits after the first `offset`; none for no words. Throws std::runtime_error
  ///         with SQLite's message when the database cannot be read.
  Result find(std::string_view words, const std::vector<Kind>& kinds, std::size_t offset,
              std::size_t count);

  /// The bytes that the folded texts take.
  [[nodiscard]] std::size_t memory() const;
  /// Gives them back; the next call reads them again.
  void freeMemory();

 private:
  sqlite3* connection;
  std::int64_t version = -1;  ///< of the database, as this connection sees it
  std::unique_ptr<SearchTexts> texts;
};

}  // namespace orvel
