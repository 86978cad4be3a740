#include "base/Log.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "tests/support/LogCapture.h"

namespace orvel::test {
namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

void logSomething() {
  OV_INFO("%d %s", 1, "two");
}

TEST(Log, GoesToStandardErrorFromWarningsOn) {
  CaptureStderr();
  OV_ERROR("error %d", 1);
  OV_WARN("warning\n");
  OV_INFO("info");
  const std::string text = GetCapturedStderr();
  EXPECT_THAT(text, HasSubstr("error 1\n"));
  EXPECT_THAT(text, HasSubstr("warning\n"));
  EXPECT_EQ(text.find("info"), std::string::npos);

  CaptureStderr();
  const std::string large(5000, 'x');
  OV_ERROR("%s", large.c_str());
  const std::string truncated = GetCapturedStderr();
  EXPECT_THAT(truncated, testing::EndsWith(" " + std::string(1023, 'x') + "\n"));
}

TEST(Log, NamesTheFunctionShortOrInFull) {
  CaptureStderr();
  {
    const LogCapture log;
    logSomething();
    ovPrettyFunction = true;
    logSomething();
    ovPrettyFunction = false;
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].function, "logSomething");
    EXPECT_THAT(log.lines()[1].function, HasSubstr("void orvel::test::"));
    EXPECT_EQ(log.lines()[1].text, "1 two");
    EXPECT_EQ(log.lines()[1].level, LogLevel::Info);
    setLogThreshold(LogLevel::Error);
    OV_WARN("dropped");
    OV_VERBOSE("dropped");
    EXPECT_EQ(log.lines().size(), 2U);
  }
  EXPECT_EQ(GetCapturedStderr(), "") << "a sink takes the lines away";
}

TEST(Log, NoThreadIsInsideASinkThatWasReplaced) {
  struct Receiver {
    std::atomic<bool> gone{false};
    std::atomic<int> lines{0};
  };
  std::atomic<bool> finished{false};
  setLogSink([](void*, LogLevel, const char*, int, const char*) {}, nullptr);
  std::thread logging([&] {
    while (!finished) OV_ERROR("line");
  });
  for (int i = 0; i < 50; ++i) {
    Receiver receiver;
    setLogSink(
        [](void* user, LogLevel, const char*, int, const char*) {
          auto& self = *static_cast<Receiver*>(user);
          EXPECT_FALSE(self.gone);
          ++self.lines;
        },
        &receiver);
    while (receiver.lines == 0) std::this_thread::yield();
    setLogSink([](void*, LogLevel, const char*, int, const char*) {}, nullptr);
    receiver.gone = true;
  }
  finished = true;
  logging.join();
  setLogSink(nullptr, nullptr);
}

}  // namespace
}  // namespace orvel::test
