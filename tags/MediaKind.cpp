#include "tags/MediaKind.h"

#include <strings.h>

#include <cstring>
#include <string_view>

namespace orvel {

namespace {

struct Extension {
  std::string_view text;  ///< NUL-ended, like names
  MediaKind kind;
};

/// Tried in this order.
constexpr Extension kExtensions[] = {
    {".mp3", MediaKind::Song},     {".m4b", MediaKind::Song},     {".m4a", MediaKind::Song},
    {".wma", MediaKind::Song},     {".aac", MediaKind::Song},     {".wav", MediaKind::Song},
    {".mpg", MediaKind::Song},     {".mpeg", MediaKind::Song},    {".asf", MediaKind::Song},
    {".m4p", MediaKind::Song},     {".flac", MediaKind::Song},    {".m4r", MediaKind::Song},
    {".mp4", MediaKind::Song},     {".m3u", MediaKind::Playlist}, {".m3u8", MediaKind::Playlist},
    {".pls", MediaKind::Playlist}, {".asx", MediaKind::Playlist}, {".wpl", MediaKind::Playlist},
};

bool matches(std::string_view name, std::string_view extension) {
  if (name.size() < extension.size()) return false;
  const char* const ending = name.data() + name.size() - extension.size();
  // Rules most names out before the costlier search.
  return strcasecmp(ending, extension.data()) == 0 &&
         strcasestr(name.data(), extension.data()) == ending;
}

}  // namespace

MediaKind mediaKindOf(const char* name) {
  for (const Extension& extension : kExtensions) {
    if (matches(name, extension.text)) return extension.kind;
  }
  return MediaKind::Other;
}

}  // namespace orvel
