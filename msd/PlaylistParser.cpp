#include "msd/PlaylistParser.h"

#include <glib.h>
#include <totem-pl-parser.h>

#include <algorithm>
#include <cassert>
#include <exception>
#include <memory>
#include <string_view>

#include "base/Log.h"

namespace orvel {

namespace {

constexpr std::string_view kFileScheme = "file:///";

struct Unref {
  void operator()(TotemPlParser* parser) const { g_object_unref(parser); }
};

/// The track paths of one list, in bytes: a short list may lie in a folder with a long name.
constexpr std::size_t kMostPathBytes = std::size_t{16} << 20;

/// User data of the handler of "entry-parsed".
struct Entries {
  Playlist& playlist;
  const std::size_t most;
  std::size_t pathBytes = 0;
  bool cut = false;   ///< there are more
  bool lost = false;  ///< an entry did not fit into memory
};

void appendEntry(Entries& entries, const char* uri) {
  entries.cut =
      entries.playlist.entries.size() >= entries.most || entries.pathBytes > kMostPathBytes;
  std::string trackPath;
  if (entries.cut || !trackPathOf(uri, trackPath)) return;
  entries.pathBytes += trackPath.size();
  const Md5 trackId(Md5Kind::Track, trackPath);
  entries.playlist.entries.push_back({std::move(trackPath), trackId, false});
}

/// Must not throw: the caller is C.
void onEntryParsed(TotemPlParser* /*parser*/, const char* uri, GHashTable* /*metadata*/,
                   gpointer data) {
  auto& entries = *static_cast<Entries*>(data);
  try {
    appendEntry(entries, uri);
  } catch (const std::exception& error) {
    OV_ERROR("an entry of a playlist was lost: %s", error.what());
    entries.lost = true;
  }
}

const char* nameOf(TotemPlParserResult result) {
  switch (result) {
    case TOTEM_PL_PARSER_RESULT_UNHANDLED:
      return "TOTEM_PL_PARSER_RESULT_UNHANDLED";
    case TOTEM_PL_PARSER_RESULT_ERROR:
      return "TOTEM_PL_PARSER_RESULT_ERROR";
    case TOTEM_PL_PARSER_RESULT_SUCCESS:
      return "TOTEM_PL_PARSER_RESULT_SUCCESS";
    case TOTEM_PL_PARSER_RESULT_IGNORED:
      return "TOTEM_PL_PARSER_RESULT_IGNORED";
    default:
      return "default";
  }
}

TotemPlParserResult parseFile(Entries& entries) {
  const std::unique_ptr<TotemPlParser, Unref> parser(totem_pl_parser_new());
  g_object_set(parser.get(), "recurse", FALSE, "disable-unsafe", TRUE, nullptr);
  g_signal_connect(parser.get(), "entry-parsed", G_CALLBACK(onEntryParsed), &entries);
  return totem_pl_parser_parse(parser.get(), playlistUri(entries.playlist.path).c_str(), FALSE);
}

PlaylistWrapper::Parse fill(Playlist& playlist, std::size_t mostEntries) {
  using Parse = PlaylistWrapper::Parse;
  try {
    Entries entries{playlist, mostEntries};
    TotemPlParserResult result = parseFile(entries);
    if (result != TOTEM_PL_PARSER_RESULT_SUCCESS) {
      // The parser reports a passing read error like a file that is no playlist: try once more.
      playlist.entries.clear();
      entries.pathBytes = 0;
      result = parseFile(entries);
    }
    OV_INFO("%s %s", nameOf(result), playlist.path.c_str());
    if (entries.lost) return Parse::Failed;
    if (result != TOTEM_PL_PARSER_RESULT_SUCCESS) return Parse::Refused;
    return entries.cut ? Parse::Cut : Parse::Done;
  } catch (const std::exception& error) {
    OV_ERROR("a playlist could not be parsed: %s", error.what());
    return Parse::Failed;
  }
}

}  // namespace

void extractPlaylist(PlaylistWrapper* wrapper) {
  assert(wrapper != nullptr && wrapper->playlist != nullptr);
  {
    const MutexLock lock(wrapper->mutex);
    if (wrapper->abandoned) return;
  }
  const PlaylistWrapper::Parse result = fill(*wrapper->playlist, wrapper->mostEntries);
  const MutexLock lock(wrapper->mutex);
  wrapper->parse = result;
  wrapper->cond.broadcast();
}

std::string playlistUri(const std::string& path) {
  std::string uri(kFileScheme);
  for (const char c : path) {
    if (c == '%') {
      uri += "%25";
    } else if (c == '#') {
      uri += "%23";
    } else {
      uri += c;
    }
  }
  return uri;
}

bool trackPathOf(const char* uri, std::string& trackPath) {
  const std::unique_ptr<char, decltype(&g_free)> unescaped(g_uri_unescape_string(uri, nullptr),
                                                           &g_free);
  if (unescaped == nullptr) return false;
  const std::string_view text(unescaped.get());
  trackPath = text.substr(std::min(text.size(), kFileScheme.size()));
  std::replace(trackPath.begin(), trackPath.end(), '\\', '/');
  return true;
}

}  // namespace orvel
