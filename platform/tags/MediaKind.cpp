#include "platform/tags/MediaKind.h"

#include <strings.h>

#include <cstring>

namespace orvel {

namespace {

struct Extension {
  const char* text;
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

bool matches(const char* name, const char* extension) {
  const char* const first = strcasestr(name, extension);
  return first != nullptr && std::strlen(first) == std::strlen(extension);
}

}  // namespace

MediaKind mediaKindOf(const char* name) {
  for (const Extension& extension : kExtensions) {
    if (matches(name, extension.text)) return extension.kind;
  }
  return MediaKind::Other;
}

}  // namespace orvel
