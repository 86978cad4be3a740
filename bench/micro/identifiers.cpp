#include <benchmark/benchmark.h>

#include <string>

#include "base/Md5.h"

namespace orvel::bench {
namespace {

void identify(benchmark::State& state, Md5Kind kind, const std::string& text) {
  for (auto _ : state) benchmark::DoNotOptimize(Md5(kind, text));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_CAPTURE(identify, track, Md5Kind::Track, "/media/stick/An Artist/An Album/01 A Song.mp3");
BENCHMARK_CAPTURE(identify, track in Cyrillic, Md5Kind::Track,
                  "/media/stick/Артист/Альбом/01 Песня.mp3");
BENCHMARK_CAPTURE(identify, track in decomposed Latin, Md5Kind::Track,
                  "/media/stick/An Artist/An Album/01 U\u0308ber.mp3");
BENCHMARK_CAPTURE(identify, artist like the last, Md5Kind::Artist, "An Artist");

}  // namespace
}  // namespace orvel::bench
