#pragma once

#include <orvel/Log.h>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orvel::test {

/// Receives every log line of the process, of all levels, while it lives; afterwards the log is as
/// at the start of the process. Thread-safe; one instance at a time.
class LogCapture {
 public:
  struct Line {
    LogLevel level;
    std::string function;
    std::string text;
  };

  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::vector<Line> lines() const;
  /// The texts of the lines that contain `part`, in order; all texts for the empty part.
  [[nodiscard]] std::vector<std::string> texts(const std::string& part = "") const;
  /// How many lines have exactly this text.
  [[nodiscard]] int count(const std::string& text) const;
  /// The level of the first line with exactly this text; nothing when there is none.
  [[nodiscard]] std::optional<LogLevel> levelOf(const std::string& text) const;
  /// Waits until a line contains `part`; false when none came in time.
  bool waitFor(const std::string& part,
               std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;
  void clear();

 private:
  static void receive(void* self, LogLevel level, const char* function, int line, const char* text);

  mutable std::mutex mutex;
  mutable std::condition_variable received;
  std::vector<Line> captured;
};

}  // namespace orvel::test
