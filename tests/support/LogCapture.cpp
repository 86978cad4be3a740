#include "tests/support/LogCapture.h"

#include <algorithm>

#include "base/Log.h"

namespace orvel::test {

LogCapture::LogCapture() {
  setLogSink(&LogCapture::receive, this);
  setLogThreshold(LogLevel::Verbose);
}

LogCapture::~LogCapture() {
  setLogThreshold(LogLevel::Warning);
  setLogSink(nullptr, nullptr);
}

void LogCapture::receive(void* self, LogLevel level, const char* function, int /*line*/,
                         const char* text) {
  auto& capture = *static_cast<LogCapture*>(self);
  const std::lock_guard lock(capture.mutex);
  capture.captured.push_back({level, function, text});
  capture.received.notify_all();
}

std::vector<LogCapture::Line> LogCapture::lines() const {
  const std::lock_guard lock(mutex);
  return captured;
}

std::vector<std::string> LogCapture::texts(const std::string& part) const {
  std::vector<std::string> found;
  for (const Line& line : lines()) {
    if (line.text.find(part) != std::string::npos) found.push_back(line.text);
  }
  return found;
}

int LogCapture::count(const std::string& text) const {
  const auto all = lines();
  return static_cast<int>(
      std::count_if(all.begin(), all.end(), [&](const Line& line) { return line.text == text; }));
}

std::optional<LogLevel> LogCapture::levelOf(const std::string& text) const {
  for (const Line& line : lines()) {
    if (line.text == text) return line.level;
  }
  return std::nullopt;
}

bool LogCapture::waitFor(const std::string& part, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(mutex);
  return received.wait_for(lock, timeout, [&] {
    return std::any_of(captured.begin(), captured.end(),
                       [&](const Line& line) { return line.text.find(part) != std::string::npos; });
  });
}

void LogCapture::clear() {
  const std::lock_guard lock(mutex);
  captured.clear();
}

}  // namespace orvel::test
