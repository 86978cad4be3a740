#include "text/TextEncoding.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "base/Utf8.h"
#include "text/EncodingGuess.h"
#include "text/TextRegion.h"

namespace orvel {

namespace {

std::string_view bytesOf(const TrackText& text) {
  return text.bytes != nullptr ? std::string_view(text.bytes, text.length) : std::string_view();
}

void release(TrackText& text) {
  std::free(text.bytes);
  text = {};
}

/// Replaces a text by a copy of `bytes`. Leaves it absent and returns false when memory runs out.
bool store(TrackText& text, std::string_view bytes, const char* encoding) {
  release(text);
  text.bytes = static_cast<char*>(std::malloc(bytes.size() + 1));
  if (text.bytes == nullptr) return false;
  if (!bytes.empty()) std::memcpy(text.bytes, bytes.data(), bytes.size());
  text.bytes[bytes.size()] = '\0';
  text.length = static_cast<unsigned>(bytes.size());
  text.encoding = encoding;
  return true;
}

bool isAscii(std::string_view bytes) {
  return std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    if (!utf8::take(bytes).valid) return false;
  }
  return true;
}

bool claimsUtf8(const TrackText& text) {
  return text.encoding != nullptr && std::strcmp(text.encoding, "UTF-8") == 0;
}

constexpr TrackText TrackRecord::*kFields[] = {&TrackRecord::title, &TrackRecord::artist,
                                               &TrackRecord::album, &TrackRecord::genre,
                                               &TrackRecord::composer};

std::atomic<TextRegion> currentRegion{TextRegion::Neutral};

/// Guesses the encoding of the texts that are neither Unicode nor ASCII.
Encoding encodingOf(const TrackRecord& track) {
  std::array<std::string_view, std::size(kFields)> open;
  std::size_t count = 0;
  bool unicodeSeen = false;
  for (const auto field : kFields) {
    const TrackText& text = track.*field;
    if (claimsUtf8(text)) {
      unicodeSeen = unicodeSeen || text.length > 0;
    } else if (!isAscii(bytesOf(text))) {
      open[count++] = bytesOf(text);
    }
  }
  if (count == 0) return Encoding::Windows1252;
  return guessEncoding({open.data(), count}, unicodeSeen, currentRegion);
}

/// Converts a text of a track in `encoding` to UTF-8. In a Western track, a single text may still
/// be UTF-8.
std::string converted(const TrackText& text, Encoding encoding) {
  const std::string_view bytes = bytesOf(text);
  if (claimsUtf8(text)) encoding = Encoding::Utf8;
  const bool mayBeUtf8 = encoding == Encoding::Utf8 || encoding == Encoding::Windows1252;
  return mayBeUtf8 && isUtf8(bytes) ? std::string(bytes) : toUtf8(encoding, bytes);
}

/// Returns false when memory runs out.
bool convert(const TrackRecord& track, TrackRecord& result) {
  const Encoding encoding = encodingOf(track);
  return std::ranges::all_of(kFields, [&](const auto field) {
    const TrackText& text = track.*field;
    return text.bytes == nullptr || store(result.*field, converted(text, encoding), "UTF-8");
  });
}

}  // namespace

void setTextRegion(TextRegion region) noexcept {
  currentRegion = region;
}

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
  auto* const result = static_cast<TrackRecord*>(std::malloc(sizeof(TrackRecord)));
  if (result == nullptr) return nullptr;
  new (result) TrackRecord;
  try {
    if (convert(*track, *result)) return result;
  } catch (const std::bad_alloc&) {
    // reported like a failing malloc
  }
  destroyTrack(result);
  std::free(result);
  return nullptr;
}

bool isMetadataEmptyUTF8(const TrackText& text) {
  return text.bytes == nullptr || text.length == 0;
}

void destroyTrack(TrackRecord* track) {
  for (const auto field : kFields) release(track->*field);
}

}  // namespace orvel
