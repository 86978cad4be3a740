#include "base/Log.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

namespace orvel::test {
namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

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

TEST(Log, ALineInTheJournalHasItsPriority) {
  CaptureStderr();
  struct stat file {};
  fstat(STDERR_FILENO, &file);
  const std::string name = std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino);
  setenv("JOURNAL_STREAM", name.c_str(), 1);
  OV_WARN("warning");
  EXPECT_THAT(GetCapturedStderr(), testing::StartsWith("<4>orvel [3] "));
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
