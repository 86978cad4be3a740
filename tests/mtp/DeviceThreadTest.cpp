#include <gtest/gtest.h>

#include <future>

#include "phones/DeviceThread.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;
using End = DeviceThread::End;

TEST(DeviceThread, OnlyADeviceWithoutASignOfLifeIsLeftBehind) {
  DeviceThread thread;
  const DeviceThread::Patience patience{.untilBegun = 10s, .silence = 300ms};
  // A long request of many short operations.
  const auto talks = [] {
    for (int i = 0; i < 900; ++i) std::this_thread::sleep_for(1ms);
  };
  EXPECT_EQ(thread.run(talks, patience), End::Done);

  std::promise<void> answered;
  const auto hangs = [answer = answered.get_future().share()] { answer.wait(); };
  EXPECT_EQ(thread.run(hangs, patience), End::Silent);
  EXPECT_EQ(thread.run([] {}, patience), End::Silent) << "it waits for the same device";
  EXPECT_EQ(thread.run([] {}, {.untilBegun = 1ms, .silence = 10s}), End::Busy);
  answered.set_value();
  EXPECT_EQ(thread.run([] {}, patience), End::Done);
}

}  // namespace
}  // namespace orvel::test
