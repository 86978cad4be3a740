#include "platform/text/TextEncoding.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "platform/common/Utf8.h"

namespace orvel {
namespace {

std::string_view bytesOf(const TrackText& text) {
  return text.bytes ? std::string_view(text.bytes, text.length) : std::string_view();
}

void release(TrackText& text) {
  std::free(text.bytes);
  text = {};
}

/// Puts a copy of `bytes` in place of an earlier text. False, and no text, when memory ran out.
bool store(TrackText& text, std::string_view bytes, const char* encoding) {
  release(text);
  text.bytes = static_cast<char*>(std::malloc(bytes.size() + 1));
  if (!text.bytes) return false;
  if (!bytes.empty()) std::memcpy(text.bytes, bytes.data(), bytes.size());
  text.bytes[bytes.size()] = '\0';
  text.length = static_cast<unsigned>(bytes.size());
  text.encoding = encoding;
  return true;
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!utf8::take(bytes).valid) return false;
  }
  return true;
}

std::string converted(const TrackText& text) {
  constexpr char32_t windows1252[] = {
      0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
  const std::string_view bytes = bytesOf(text);
  if (isUtf8(bytes)) return std::string(bytes);
  std::string out;
  for (const unsigned char byte : bytes) {
    utf8::append(out, byte >= 0x80 && byte < 0xA0 ? windows1252[byte - 0x80] : byte);
  }
  return out;
}

constexpr TrackText TrackRecord::*fields[] = {&TrackRecord::title, &TrackRecord::artist,
                                              &TrackRecord::album, &TrackRecord::genre,
                                              &TrackRecord::composer};

}  // namespace

void initTrack(TrackRecord* track) {
  *track = {};
}

void setTrackTitle(TrackRecord* track, const char* bytes, unsigned length, const char* encoding) {
  store(track->title, {bytes, length}, encoding);
}

void setTrackArtist(TrackRecord* track, const char* bytes, unsigned length, const char* encoding) {
  store(track->artist, {bytes, length}, encoding);
}

void setTrackAlbum(TrackRecord* track, const char* bytes, unsigned length, const char* encoding) {
  store(track->album, {bytes, length}, encoding);
}

void setTrackGenre(TrackRecord* track, const char* bytes, unsigned length, const char* encoding) {
  store(track->genre, {bytes, length}, encoding);
}

void setTrackComposer(TrackRecord* track, const char* bytes, unsigned length,
                      const char* encoding) {
  store(track->composer, {bytes, length}, encoding);
}

TrackRecord* guess_and_convert_by_prio(const TrackRecord* track, const char*) {
  auto* result = static_cast<TrackRecord*>(std::malloc(sizeof(TrackRecord)));
  if (!result) return nullptr;
  new (result) TrackRecord;
  bool complete = true;
  for (const auto field : fields) {
    if ((track->*field).bytes) {
      complete = complete && store(result->*field, converted(track->*field), "UTF-8");
    }
  }
  if (complete) return result;
  destroyTrack(result);
  std::free(result);
  return nullptr;
}

bool isMetadataEmptyUTF8(const TrackText& text) {
  return !text.bytes || text.length == 0;
}

void destroyTrack(TrackRecord* track) {
  for (const auto field : fields) release(track->*field);
}

}  // namespace orvel
