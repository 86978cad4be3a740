#include "db/SqlStream.h"

#include <benchmark/benchmark.h>

#include "bench/micro/SongDatabase.h"
#include "db/SqlTexts.h"

namespace orvel::bench {
namespace {

/// Stores one block of songs in one transaction.
void insertSongs(benchmark::State& state) {
  constexpr int kSongs = 500;
  SongDatabase database(0);
  int next = 0;
  for (auto _ : state) {
    database.insert(next, next + kSongs);
    next += kSongs;
  }
  state.SetItemsProcessed(state.iterations() * kSongs);
}
BENCHMARK(insertSongs)->Iterations(32);

/// Reads the rows that change detection needs.
void readSongs(benchmark::State& state) {
  constexpr int kSongs = 16000;
  const SongDatabase database(kSongs);
  sqlstl::basic_sqlistream<char> in;
  in.open(database.file().c_str(), 1000);
  const std::string select = sql::withPathPattern(sql::kSelectSongs, SongDatabase::kMountPoint);
  for (auto _ : state) {
    int rows = 0;
    for (in.query(select.c_str()); in.good(); in.step()) ++rows;
    if (rows != kSongs) state.SkipWithError("rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * kSongs);
}
BENCHMARK(readSongs);

}  // namespace
}  // namespace orvel::bench
