#include "text/TextEncoding.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "base/Utf8.h"
#include "text/EncodingGuess.h"
#include "text/TextRegion.h"
#include "text/evidentUtf8.h"
#include "text/repeatedUtf8.h"
#include "text/sevenBitText.h"
#include "text/unmarkedUtf16.h"

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

bool isPrintableAscii(std::string_view bytes) {
  return std::ranges::all_of(bytes, [](char c) { return c >= 0x20 && c < 0x7F; });
}

bool claimsUtf8(const TrackText& text) {
  return text.encoding != nullptr && std::strcmp(text.encoding, "UTF-8") == 0;
}

constexpr TrackText TrackRecord::*kFields[] = {&TrackRecord::title, &TrackRecord::artist,
                                               &TrackRecord::album, &TrackRecord::genre,
                                               &TrackRecord::composer};

std::atomic<TextRegion> currentRegion{TextRegion::Neutral};

/// The byte order of the texts in UTF-16 without a mark, if the track has any.
std::optional<ByteOrder> utf16Order(const TrackRecord& track) {
  for (const auto field : kFields) {
    if (claimsUtf8(track.*field)) continue;
    if (const auto order = unmarkedUtf16(bytesOf(track.*field))) return order;
  }
  return std::nullopt;
}

/// The text in UTF-8 when its bytes show its encoding; nothing when it is left to the guess.
std::optional<std::string> plainlyEncoded(const TrackText& text, std::optional<ByteOrder> utf16) {
  const std::string_view bytes = bytesOf(text);
  if (claimsUtf8(text)) return toUtf8(Encoding::Utf8, bytes);
  if (utf16 && !isPrintableAscii(bytes)) {
    if (auto converted = utf16Text(bytes, *utf16)) return converted;
  }
  for (const auto rule : {sevenBitText, repeatedUtf8, evidentUtf8}) {
    if (auto converted = rule(bytes)) return converted;
  }
  return isAscii(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
}

using ConvertedTexts = std::array<std::string, std::size(kFields)>;

/// Converts the texts of a track to UTF-8: first those whose encoding is plain, then the others.
ConvertedTexts converted(const TrackRecord& track) {
  ConvertedTexts texts;
  std::array<std::string_view, std::size(kFields)> open, context;
  std::array<std::size_t, std::size(kFields)> places{};
  std::size_t count = 0, contextCount = 0;
  bool unicodeSeen = false;
  const std::optional<ByteOrder> utf16 = utf16Order(track);
  for (std::size_t i = 0; i < std::size(kFields); ++i) {
    const TrackText& text = track.*kFields[i];
    if (auto plain = plainlyEncoded(text, utf16)) {
      texts[i] = std::move(*plain);
      // A genre is in English whatever the language of its track.
      const bool telling = kFields[i] != &TrackRecord::genre && !texts[i].empty();
      if (telling && isAscii(texts[i])) context[contextCount++] = texts[i];
    } else {
      places[count] = i;
      open[count++] = bytesOf(text);
    }
    unicodeSeen = unicodeSeen || (claimsUtf8(text) && text.length > 0);
  }
  if (count > 0) {
    const TextEncodings found = guessEncodings({open.data(), count}, {context.data(), contextCount},
                                               unicodeSeen, currentRegion);
    for (std::size_t i = 0; i < count; ++i) {
      const bool utf8 = found[i] == Encoding::Windows1252 && utf8::isValid(open[i]);
      texts[places[i]] = toUtf8(utf8 ? Encoding::Utf8 : found[i], open[i]);
    }
  }
  return texts;
}

/// Returns false when memory runs out.
bool convert(const TrackRecord& track, TrackRecord& result) {
  const ConvertedTexts texts = converted(track);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const bool absent = (track.*kFields[i]).bytes == nullptr;
    if (!absent && !store(result.*kFields[i], texts[i], "UTF-8")) return false;
  }
  return true;
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
