#include <orvel/MtpDevice.h>

#include <gmock/gmock.h>

#include <future>
#include <stop_token>

#include "base/StageThread.h"
#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using namespace std::chrono_literals;

MtpDevice& registry() {
  return MtpDevice::instance();
}

/// A thread that waits for the readiness of device 7.
auto waiting(const LogCapture& log, std::stop_token token = {}) {
  const std::size_t earlier = log.texts("waitDeviceReady 7").size();
  auto wait = std::async(std::launch::async, [token] {
    stageThread::enter(token);
    return registry().waitDeviceReady(7);
  });
  while (log.texts("waitDeviceReady 7").size() == earlier) std::this_thread::yield();
  EXPECT_EQ(wait.wait_for(20ms), std::future_status::timeout);
  return wait;
}

TEST(MtpDevice, KnowsOnlyWhatItWasTold) {
  EXPECT_FALSE(registry().isDeviceConnected(99) || registry().isDeviceReady(99));
  EXPECT_FALSE(registry().waitDeviceReady(99));
  registry().setDeviceReady(5);
  EXPECT_TRUE(registry().isDeviceReady(5) && !registry().isDeviceConnected(5));
  EXPECT_FALSE(registry().waitDeviceReady(5)) << "not connected";
  registry().setDeviceConnected(5);
  EXPECT_TRUE(registry().isDeviceConnected(5) && !registry().isDeviceReady(5));
  registry().setDeviceReady(5);
  registry().disconnectDevice(5);
  EXPECT_FALSE(registry().isDeviceConnected(5) || registry().isDeviceReady(5));
}

TEST(MtpDevice, AWaitEndsWithAnyReadinessARemovalOrAStop) {
  const LogCapture log;
  registry().setDeviceConnected(7);
  auto wait = waiting(log);
  registry().setDeviceReady(7);
  ASSERT_EQ(wait.wait_for(5s), std::future_status::ready);
  EXPECT_TRUE(wait.get());

  wait = waiting(log);  // ready already, and waits all the same
  registry().setDeviceReady(8);
  EXPECT_TRUE(wait.get());

  registry().setDeviceConnected(7);
  wait = waiting(log);
  registry().setDeviceConnected(8);
  EXPECT_EQ(wait.wait_for(20ms), std::future_status::timeout);
  registry().disconnectDevice(7);
  ASSERT_EQ(wait.wait_for(5s), std::future_status::ready) << "a removal ends the wait";
  EXPECT_FALSE(wait.get());

  registry().setDeviceConnected(7);
  std::stop_source stage;
  wait = waiting(log, stage.get_token());
  stage.request_stop();
  ASSERT_EQ(wait.wait_for(5s), std::future_status::ready);
  EXPECT_FALSE(wait.get());
  EXPECT_EQ(log.texts("finished").size(), 4U);
}

}  // namespace
}  // namespace orvel::test
