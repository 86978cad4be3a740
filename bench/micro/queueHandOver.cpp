#include <benchmark/benchmark.h>

#include <boost/make_shared.hpp>
#include <semaphore>

#include "db/FileInfo.h"
#include "framework/Server.h"

namespace orvel::bench {
namespace {

/// A stage that drops blocks and reports the last one.
class Taker : public Server<Block<FileInfo*>, Block<void>> {
 public:
  using Server::Server;

  sink_block_type_ptr doOperation(src_block_type_ptr block) override {
    if (block->operation.last) taken.release();
    return {};
  }

  std::binary_semaphore taken{0};
};

/// Hands blocks from one thread to the next: ten queues full, until the last one is taken.
void handOver(benchmark::State& state) {
  constexpr int kBlocks = 1000;
  Taker taker("bench");
  taker.launch();
  taker.start();
  for (auto _ : state) {
    for (int i = 1; i <= kBlocks; ++i) {
      const Operation operation(1, 0, "bench", "/media/stick", i == kBlocks);
      taker.enqueue(boost::make_shared<Block<FileInfo*>>(operation));
    }
    taker.taken.acquire();
  }
  taker.stop();
  taker.join();
  state.SetItemsProcessed(state.iterations() * kBlocks);
}
BENCHMARK(handOver)->UseRealTime();

}  // namespace
}  // namespace orvel::bench
