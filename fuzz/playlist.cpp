#include <fcntl.h>
#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "playlists/PlaylistGuard.h"
#include "playlists/PlaylistMessages.h"
#include "playlists/PlaylistParser.h"
#include "playlists/parsePlaylist.h"
#include "tests/support/TemporaryFolder.h"

namespace orvel::fuzz {
namespace {

/// New ones come last: inputs name them by their number.
constexpr std::array kExtensions{".m3u", ".m3u8", ".pls", ".asx", ".wpl"};

void parse(const std::string& name, const std::string& content) {
  static const test::TemporaryFolder folder;
  PlaylistWrapper wrapper;
  Playlist playlist(folder.file(name, content), folder.path(), 0);
  if (harmOfPlaylist(Descriptor(open(playlist.path.c_str(), O_RDONLY))) != nullptr) return;
  wrapper.playlist = &playlist;
  extractPlaylist(&wrapper);
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) continue;
  {
    const MutexLock lock(wrapper.mutex);
    require(wrapper.parse != PlaylistWrapper::Parse::Pending, "the end of a parse is announced");
  }
  // A playlist has many entries only where its file is large.
  require(playlist.entries.size() <= content.size(), "an entry takes at least a byte");
  for (const PlaylistEntry& entry : playlist.entries) {
    require(entry.trackPath.find('\\') == std::string::npos, "paths have no back-slashes");
  }
}

/// The sides may differ on whether an entry is a URI or a path.
void roundTrip(std::string path) {
  path.erase(std::remove(path.begin(), path.end(), '\0'), path.end());
  std::string trackPath;
  trackPathOf(path.c_str(), trackPath);
  if (!trackPathOf(playlistUri(path).c_str(), trackPath)) {
    require(false, "the URI of every path can be unescaped");
  }
  std::replace(path.begin(), path.end(), '\\', '/');
  require(trackPath == path, "a path survives its URI");
}

/// Takes a text for a piece that a reader sent.
void readPiece(const std::string& message) {
  using namespace playlistMessages;
  const auto piece = decodePiece(message);
  if (!piece) return;
  require(piece->paths.empty() == piece->end.has_value(), "a piece holds paths or the end");
  for (const std::string_view path : piece->paths) {
    require(path.size() <= kMostPathBytes, "paths are bounded");
  }
  const std::vector<std::string> paths(piece->paths.begin(), piece->paths.end());
  const std::string again =
      piece->end ? encodeEnd(piece->id, *piece->end) : encodePaths(piece->id, paths);
  require(again.size() == message.size(), "nothing of a piece is passed over");
}

/// The first byte of an input that is a piece.
constexpr std::uint8_t kPiece = 0xFF;

}  // namespace
}  // namespace orvel::fuzz

/// Parses a playlist file, or takes a text for a URI and for a path, or for a reader's message. The
/// input is a byte that chooses the extension, or no extension for a text, and the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel::fuzz;
  InputBytes input(data, size);
  const std::uint8_t choice = input.byte();
  const std::size_t kind = choice % (kExtensions.size() + 1);
  if (choice == kPiece) {
    readPiece(input.rest());
  } else if (kind == kExtensions.size()) {
    roundTrip(input.rest());
  } else {
    parse(std::string("list") + kExtensions[kind], input.rest());
  }
  return 0;
}
