#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvel {

/// The kind of thing an identifier stands for. It is the first character of the identifier's text,
/// so equal texts of different kinds never share an identifier.
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
/// some bytes. A value type. Copies share one text, whose address tells copies apart from
/// identifiers that only have equal text.
class Md5 {
 public:
  /// No identifier: the empty text.
  Md5();
  /// Identifies `bytes`. Digests the `trackKey` of a path for the kind Track, and the bytes as they
  /// are for every other kind. Neighbouring calls on one thread with equal kind and bytes return
  /// copies of one another, except for tracks and for more than 256 bytes.
  Md5(Md5Kind identifiedKind, std::string_view bytes);

  [[nodiscard]] const std::string& text() const { return *sharedText; }
  /// Equal for copies of one identifier, and only for those.
  [[nodiscard]] const void* identity() const { return sharedText.get(); }
  [[nodiscard]] Md5Kind kind() const { return identifiedKind; }

 private:
  boost::shared_ptr<const std::string> sharedText;
  Md5Kind identifiedKind = Md5Kind::Track;
};

}  // namespace orvel
