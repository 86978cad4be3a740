#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace orvel {

/// The parser's verdict on a file.
enum class PlaylistVerdict : std::uint8_t { Unhandled, Error, Success, Ignored, Other };

/// The verdict's text in the log.
const char* nameOf(PlaylistVerdict verdict);

/// Receives the URI of an entry. Must not throw: its caller is C.
using OnPlaylistEntry = std::function<void(const char* uri)>;

/// Runs the playlist parser on the file at `path`. Needs no lock and no particular thread, but one
/// parse at a time.
/// @param onEntry  called for each entry, in order
PlaylistVerdict parsePlaylist(const std::string& path, const OnPlaylistEntry& onEntry);

/// Makes the URI of a playlist file for the parser. Escapes "%", "#" and "?", which
/// mean something else in a URI, and nothing else.
std::string playlistUri(const std::string& path);

/// Makes the track path of an entry: unescapes the URI, replaces every backslash by "/" and drops
/// as many characters as "file:///" has, whatever the scheme. Returns false if the URI cannot be
/// unescaped.
bool trackPathOf(const char* uri, std::string& trackPath);

/// Makes the track paths of one list, up to a number of entries and of bytes: a short list may lie
/// in a folder with a long name.
class TrackPaths {
 public:
  /// A list is cut at the first entry after as many bytes of paths.
  static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

  explicit TrackPaths(std::size_t mostEntries) : most(mostEntries) {}

  /// Makes the track path of the next entry. Returns false when the entry is not to be kept.
  bool next(const char* uri, std::string& trackPath);

  /// True once the list had an entry too many.
  [[nodiscard]] bool areCut() const { return cut; }

 private:
  std::size_t most;
  std::size_t count = 0;
  std::size_t bytes = 0;
  bool cut = false;
};

}  // namespace orvel
