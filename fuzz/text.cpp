#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "text/AsianForms.h"
#include "text/TextEncoding.h"
#include "text/trim.h"

namespace orvel::fuzz {
namespace {

std::string trimmed(std::string_view text) {
  return trim(text.data(), static_cast<unsigned>(text.size()));
}

using Setter = void (*)(TrackRecord*, const char*, unsigned, const char*);
constexpr std::array<Setter, 5> kSetters{setTrackTitle, setTrackArtist, setTrackAlbum,
                                         setTrackGenre, setTrackComposer};

/// Guesses and converts one track; the result has every text in UTF-8.
std::unique_ptr<TrackRecord, void (*)(TrackRecord*)> converted(InputBytes& input) {
  const unsigned claims = input.byte();
  TrackRecord track;
  initTrack(&track);
  for (std::size_t i = 0; i < kSetters.size(); ++i) {
    const std::string text = input.line();
    require(isUtf8(trimmed(text)), "a trimmed text is UTF-8");
    kSetters[i](&track, text.data(), static_cast<unsigned>(text.size()),
                (claims >> i & 1U) != 0 ? "UTF-8" : "ISO-8859-1");
  }
  TrackRecord* const guessed = guess_and_convert_by_prio(&track, "ISO-8859-1");
  destroyTrack(&track);
  return {guessed, [](TrackRecord* record) {
            destroyTrack(record);
            std::free(record);
          }};
}

}  // namespace
}  // namespace orvel::fuzz

/// Takes one track through everything that happens to its texts: guessing and converting, trimming,
/// Asian forms. The input is a byte whose bits tell which of the five texts are claimed as UTF-8,
/// then the texts with line ends between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel;
  using namespace orvel::fuzz;
  InputBytes input(data, size);
  const auto track = converted(input);
  require(track != nullptr, "there is a result");
  std::array<std::string, kSetters.size()> texts;
  std::array<std::string_view, kSetters.size()> views;
  std::array<std::string_view, kSetters.size()> sortTags;
  std::size_t i = 0;
  for (const TrackText* text :
       {&track->title, &track->artist, &track->album, &track->genre, &track->composer}) {
    const std::string_view bytes(text->bytes, text->length);
    require(isUtf8(bytes), "a converted text is UTF-8");
    texts[i] = trimmed(bytes);
    require(trimmed(texts[i]) == texts[i], "a trimmed text stays as it is");
    require(!hasControls(texts[i]), "a trimmed text has no control characters");
    views[i] = texts[i];
    sortTags[kSetters.size() - 1 - i] = bytes;
    ++i;
  }
  if (const auto forms = asianForms(views, sortTags)) {
    for (const std::string& form : *forms) require(isUtf8(form), "an Asian form is UTF-8");
  }
  return 0;
}
