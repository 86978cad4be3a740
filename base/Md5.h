#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvel {

/// What an identifier identifies. The kind is the first character of the identifier's text, so
/// equal texts of different kinds never share an identifier.
enum class Md5Kind : std::uint32_t {
  Track = 0,
  Directory = 1,  ///< also partitions
  Artist = 2,
  Album = 3,
  Genre = 4,
  Composer = 5,
  Playlist = 6,
};

/// An identifier: one digit for the kind, then 32 lower-case hex digits of the MD5 (RFC 1321) of
/// some bytes. A value type; copies share one text, and two identifiers are recognised as copies of
/// one another by the address of that text.
class Md5 {
 public:
  /// No identifier: the empty text.
  Md5();
  /// Identifies `bytes`. Kind Track digests a reduced form of a path (see `trackKey`), every other
  /// kind the bytes as they are. Neighbouring calls on one thread with equal kind and bytes return
  /// copies of one another.
  Md5(Md5Kind identifiedKind, std::string_view bytes);

  [[nodiscard]] const std::string& text() const { return *sharedText; }
  /// Equal for copies of one identifier, and only for those.
  [[nodiscard]] const void* identity() const { return sharedText.get(); }
  [[nodiscard]] Md5Kind kind() const { return identifiedKind; }

 private:
  boost::shared_ptr<const std::string> sharedText;
  Md5Kind identifiedKind = Md5Kind::Track;
};

/// The 32 lower-case hex digits of the MD5 (RFC 1321) of `bytes`.
std::string md5Hex(std::string_view bytes);

/// The form of a track's path in which all spellings of the path are equal: components resolved
/// lexically, without leading "/"; bytes that are not UTF-8 read as ISO-8859-1; case folded; NFC.
/// Playlists spell one path in several ways, FAT does not tell case, and some systems write NFD.
std::string trackKey(std::string_view path);

}  // namespace orvel
