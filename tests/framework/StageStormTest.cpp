#include <gmock/gmock.h>

#include <random>
#include <thread>

#include "tests/framework/TestStage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

void startAndPause(TestStage& stage, unsigned seed, int times) {
  std::mt19937 random(seed);
  for (int i = 0; i < times; ++i) {
    if (random() % 2 == 0) {
      stage.start();
    } else {
      stage.pause();
    }
    std::this_thread::yield();
  }
}

TEST(StageStorm, EveryBlockIsWorkedOnOnceAndInItsProducersOrder) {
  const LogCapture quiet;
  constexpr int kBlocks = 500;
  TestStage stage("Storm");
  stage.launch();
  std::vector<std::thread> threads;
  for (unsigned seed : {1U, 2U}) {
    threads.emplace_back([&stage, seed] { startAndPause(stage, seed, 2000); });
    threads.emplace_back([&stage, seed] {
      for (int i = 0; i < kBlocks; ++i) {
        stage.enqueue(filesOf(static_cast<int>(seed) * 1000 + i, false, 1));
      }
    });
  }
  threads[0].join();
  threads[2].join();
  stage.start();
  threads[1].join();
  threads[3].join();
  ASSERT_TRUE(waitUntil([&] { return stage.received().size() == 2 * kBlocks; }));
  int next[] = {1000, 2000};
  for (const Operation& got : stage.received()) EXPECT_EQ(got.id, next[got.id / 1000 - 1]++);
}

}  // namespace
}  // namespace orvel::test
