#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string_view>

#include "text/TextEncoding.h"

namespace orvel::bench {
namespace {

/// Guesses the encoding of a track with `text` as title, artist and album, declared as `claimed`.
void guess(benchmark::State& state, std::string_view text, const char* claimed) {
  TrackRecord track;
  initTrack(&track);
  for (const auto set : {setTrackTitle, setTrackArtist, setTrackAlbum}) {
    set(&track, text.data(), static_cast<unsigned>(text.size()), claimed);
  }
  for (auto _ : state) {
    TrackRecord* const converted = guess_and_convert_by_prio(&track, "ISO-8859-1");
    destroyTrack(converted);
    std::free(converted);
  }
  destroyTrack(&track);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(guess, ASCII, "A Song of the Album", "ISO-8859-1");
BENCHMARK_CAPTURE(guess, Unicode, "Песня альбома", "UTF-8");
BENCHMARK_CAPTURE(guess, Western, "Chanson d'\xE9t\xE9 \xE0 la fen\xEAtre", "ISO-8859-1");
BENCHMARK_CAPTURE(guess, Cyrillic, "\xCF\xE5\xF1\xED\xFF \xE0\xEB\xFC\xE1\xEE\xEC\xE0",
                  "ISO-8859-1");
BENCHMARK_CAPTURE(guess, Japanese, "\x89\xCC\x8E\xE8\x82\xCC\x83\x41\x83\x8B\x83\x6F\x83\x80",
                  "ISO-8859-1");

}  // namespace
}  // namespace orvel::bench
