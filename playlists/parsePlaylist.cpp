#include "playlists/parsePlaylist.h"

#include <glib.h>
#include <totem-pl-parser.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "base/GlibPointers.h"

namespace orvel {

namespace {

constexpr std::string_view kFileScheme = "file:///";

void passOn(TotemPlParser* /*parser*/, const char* uri, GHashTable* /*metadata*/, gpointer data) {
  (*static_cast<const OnPlaylistEntry*>(data))(uri);
}

PlaylistVerdict verdictOf(TotemPlParserResult result) {
  switch (result) {
    case TOTEM_PL_PARSER_RESULT_UNHANDLED:
      return PlaylistVerdict::Unhandled;
    case TOTEM_PL_PARSER_RESULT_ERROR:
      return PlaylistVerdict::Error;
    case TOTEM_PL_PARSER_RESULT_SUCCESS:
      return PlaylistVerdict::Success;
    case TOTEM_PL_PARSER_RESULT_IGNORED:
      return PlaylistVerdict::Ignored;
    default:
      return PlaylistVerdict::Other;
  }
}

}  // namespace

const char* nameOf(PlaylistVerdict verdict) {
  constexpr std::array kNames = {"TOTEM_PL_PARSER_RESULT_UNHANDLED", "TOTEM_PL_PARSER_RESULT_ERROR",
                                 "TOTEM_PL_PARSER_RESULT_SUCCESS", "TOTEM_PL_PARSER_RESULT_IGNORED",
                                 "default"};
  return kNames.at(static_cast<std::size_t>(verdict));
}

PlaylistVerdict parsePlaylist(const std::string& path, const OnPlaylistEntry& onEntry) {
  const GlibObject<TotemPlParser> parser(totem_pl_parser_new());
  g_object_set(parser.get(), "recurse", FALSE, "disable-unsafe", TRUE, nullptr);
  g_signal_connect(parser.get(), "entry-parsed", G_CALLBACK(passOn),
                   const_cast<OnPlaylistEntry*>(&onEntry));
  return verdictOf(totem_pl_parser_parse(parser.get(), playlistUri(path).c_str(), FALSE));
}

std::string playlistUri(const std::string& path) {
  std::string uri(kFileScheme);
  for (const char c : path) {
    if (c == '%') {
      uri += "%25";
    } else if (c == '#') {
      uri += "%23";
    } else if (c == '?') {
      uri += "%3F";
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

bool TrackPaths::next(const char* uri, std::string& trackPath) {
  cut = count >= most || bytes > kMostBytes;
  if (cut || !trackPathOf(uri, trackPath)) return false;
  ++count;
  bytes += trackPath.size();
  return true;
}

}  // namespace orvel
