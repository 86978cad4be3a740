#include <benchmark/benchmark.h>

#include <boost/make_shared.hpp>

#include "bench/micro/SongDatabase.h"
#include "db/SqlStream.h"
#include "db/SqlTexts.h"
#include "msd/GenericChangeFinder.h"

namespace orvel::bench {
namespace {

/// Compares an unchanged device with its database.
void findNoChange(benchmark::State& state) {
  const int songs = static_cast<int>(state.range(0));
  const SongDatabase database(songs);
  sqlstl::basic_sqlostream<char> out;
  sqlstl::basic_sqlistream<char> in;
  out.open(database.file().c_str(), 1000);
  in.open(database.file().c_str(), 1000);
  const std::string select = sql::withPathPattern(sql::kSelectSongs, SongDatabase::kMountPoint);
  for (auto _ : state) {
    state.PauseTiming();
    const auto found = SongDatabase::crawled(songs);
    const auto toAdd = boost::make_shared<Block<FileInfo*>>(found->operation);
    state.ResumeTiming();
    GenericChangeFinder finder("bench", out, in);
    const int added = finder.findDifference(select, sql::kDeleteSong, found, toAdd);
    if (added != 0 || finder.vanished() != 0) state.SkipWithError("songs differ");
  }
  state.SetItemsProcessed(state.iterations() * songs);
  state.SetComplexityN(songs);
}
BENCHMARK(findNoChange)->Arg(1000)->Arg(4000)->Arg(16000)->Complexity(benchmark::oNLogN);

}  // namespace
}  // namespace orvel::bench
