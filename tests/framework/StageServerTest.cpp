#include <gmock/gmock.h>

#include <boost/weak_ptr.hpp>
#include <future>
#include <limits>
#include <stdexcept>

#include "base/Log.h"
#include "base/StageThread.h"
#include "tests/framework/TestStage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessPriority.h"
#include "tests/support/waitUntil.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Field;

/// A stage "S" and a running sink, neither launched nor started by itself.
class StageServer : public testing::Test {
 protected:
  void run() {
    stage.sink = &sink;
    sink.launch();
    sink.start();
    stage.launch();
    stage.start();
  }

  LogCapture log;
  TestStage sink{"Sink"};
  TestStage stage{"S"};
};

TEST_F(StageServer, StopDropsTheQueueAndRefusesEverythingAfterwards) {
  boost::weak_ptr<Files> queued[3];
  for (auto& block : queued) {
    const auto made = filesOf(7, false, 2);
    block = made;
    stage.enqueue(made);
  }
  stage.launch();
  stage.stop();
  stage.join();
  for (const auto& block : queued) EXPECT_TRUE(block.expired());
  EXPECT_THAT(log.texts("S stop DELETING"),
              ElementsAre("S stop DELETING 3", "S stop DELETING 2", "S stop DELETING 1"));
  EXPECT_THAT(log.texts("(op: 7)"), ElementsAre("S 1 (op: 7)", "S 2 (op: 7)", "S 3 (op: 7)"));
  EXPECT_EQ(log.count("S EXITING Run Loop"), 1);

  log.clear();
  stage.start();
  stage.pause();
  stage.enqueue(filesOf(8, true));
  stage.stop();
  stage.join();
  EXPECT_EQ(stage.currentState(), TestStage::STOPPING);
  EXPECT_TRUE(stage.received().empty());
  EXPECT_EQ(log.levelOf("SYSTEM is Stopping cannot start it again S"), LogLevel::Warning);
  EXPECT_EQ(log.levelOf("SYSTEM is Stopping cannot be paused S"), LogLevel::Warning);
  EXPECT_EQ(log.levelOf("1: enqueue skipped block for op 8"), LogLevel::Info);
}

TEST_F(StageServer, AFullQueueHoldsItsProducerUntilThereIsRoomOrAStop) {
  for (int i = 0; i < 100; ++i) stage.enqueue(filesOf(1, false));
  auto producer = std::async(std::launch::async, [&] { stage.enqueue(filesOf(101, false)); });
  EXPECT_EQ(producer.wait_for(50ms), std::future_status::timeout);
  std::promise<void> gate;
  stage.work = [opened = gate.get_future().share()](const FilesPtr&) {
    opened.wait();
    return FilesPtr();
  };
  stage.launch();
  stage.start();
  EXPECT_EQ(producer.wait_for(10s), std::future_status::ready);
  EXPECT_EQ(log.count("S 101 (op: 101)"), 0);

  std::vector<std::future<void>> late;
  for (int i = 0; i < 3; ++i) {
    late.push_back(std::async(std::launch::async, [&] { stage.enqueue(filesOf(102, true)); }));
  }
  EXPECT_EQ(late.front().wait_for(50ms), std::future_status::timeout);
  stage.stop();
  for (auto& waiting : late) EXPECT_EQ(waiting.wait_for(10s), std::future_status::ready);
  EXPECT_EQ(log.count("1: enqueue skipped block for op 102"), 3);
  gate.set_value();
  stage.join();
  EXPECT_EQ(stage.received().size(), 1U);
}

TEST_F(StageServer, ALastMarkSurvivesAnyFailureAndTellsOfIt) {
  stage.work = [](const FilesPtr& block) -> FilesPtr {
    if (block->operation.id == 1 || !block->items.empty()) throw std::runtime_error("no luck");
    return block;
  };
  run();
  stage.enqueue(filesOf(1, true, 3));   // fails on its LAST block
  stage.enqueue(filesOf(2, false, 3));  // fails before it
  stage.enqueue(filesOf(2, true));
  stage.enqueue(filesOf(3, true));  // is not concerned
  ASSERT_TRUE(waitUntil([&] { return sink.received().size() == 4; }));
  std::vector<std::string> marks;
  for (const Operation& got : sink.received()) {
    marks.push_back(std::to_string(got.id) + (got.last ? " last" : "") +
                    (got.skipped ? " skipped" : ""));
  }
  EXPECT_THAT(marks, ElementsAre("1 last skipped", "2", "2 last skipped", "3 last"));
  EXPECT_THAT(stage.completions(), ElementsAre(2, 3));
  EXPECT_EQ(log.count("S: an error occured: no luck"), 2);
  EXPECT_EQ(log.levelOf("S: an error occured: no luck"), LogLevel::Error);
}

TEST_F(StageServer, TheLastBlockTellsThatAnEarlierOneLeftWorkUndone) {
  stage.work = [&](const FilesPtr& block) {
    if (!block->items.empty()) stage.leaveUndone(block->operation, LeftUndone::ReadError);
    return block->operation.last ? block : FilesPtr();
  };
  run();
  const auto marked = filesOf(1, false);
  marked->operation.skipped = true;
  for (const auto& block : {marked, filesOf(1, true), filesOf(2, false, 1), filesOf(2, true),
                            filesOf(3, false), filesOf(3, true)}) {
    stage.enqueue(block);
  }
  ASSERT_TRUE(waitUntil([&] { return sink.received().size() == 3; }));
  std::vector<bool> marks;
  for (const Operation& got : sink.received()) marks.push_back(got.skipped);
  EXPECT_THAT(marks, ElementsAre(true, true, false));
  EXPECT_THAT(stage.progress->snapshot().leftUndone,
              ElementsAre("the device could not be read in places"));
}

}  // namespace
}  // namespace orvel::test
