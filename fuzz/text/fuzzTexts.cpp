#include "fuzz/text/fuzzTexts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/common/AsianForms.h"
#include "platform/common/Utf8.h"
#include "platform/common/trim.h"
#include "platform/text/TextEncoding.h"

namespace orvel {
namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "violated: %s\n", what);
  std::abort();
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!utf8::take(text).valid) return false;
  }
  return true;
}

bool hasControls(std::string_view text) {
  while (!text.empty()) {
    const char32_t c = utf8::take(text).code;
    if (c < 0x20 || (c >= 0x7F && c < 0xA0)) return true;
  }
  return false;
}

std::string trimmed(std::string_view text) {
  return trim(text.data(), static_cast<unsigned>(text.size()));
}

using Setter = void (*)(TrackRecord*, const char*, unsigned, const char*);
constexpr std::array<Setter, 5> setters{setTrackTitle, setTrackArtist, setTrackAlbum, setTrackGenre,
                                        setTrackComposer};

}  // namespace

void fuzzTexts(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return;
  const unsigned claims = data[0];
  std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  TrackRecord track;
  initTrack(&track);
  for (size_t i = 0; i < setters.size(); ++i) {
    const std::string_view text = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    require(isUtf8(trimmed(text)), "a trimmed text is UTF-8");
    setters[i](&track, text.data(), static_cast<unsigned>(text.size()),
               claims >> i & 1 ? "UTF-8" : "ISO-8859-1");
  }
  TrackRecord* const guessed = guess_and_convert_by_prio(&track, "ISO-8859-1");
  destroyTrack(&track);
  require(guessed, "there is a result");

  std::array<std::string, 5> texts;
  std::array<std::string_view, 5> views, sortTags;
  size_t i = 0;
  for (const TrackText* text :
       {&guessed->title, &guessed->artist, &guessed->album, &guessed->genre, &guessed->composer}) {
    const std::string_view bytes(text->bytes, text->length);
    require(isUtf8(bytes), "a converted text is UTF-8");
    texts[i] = trimmed(bytes);
    require(trimmed(texts[i]) == texts[i], "a trimmed text stays as it is");
    require(!hasControls(texts[i]), "a trimmed text has no control characters");
    views[i] = texts[i];
    sortTags[setters.size() - 1 - i] = bytes;
    ++i;
  }
  if (const auto forms = asianForms(views, sortTags)) {
    for (const std::string& form : *forms) require(isUtf8(form), "an Asian form is UTF-8");
  }
  destroyTrack(guessed);
  std::free(guessed);
}

}  // namespace orvel
