#pragma once

namespace orvel {

/// libmtp prints: lines about each device to the C standard output, where a host may be writing its
/// results, and complaints to the standard error stream. While an instance lives, what its own
/// thread prints there through C's `stdout` and `stderr` becomes log lines of level
/// LogLevel::Debug. What other threads print goes where it went before; std::cout and std::cerr are
/// not concerned.
class PrintedLines {
 public:
  PrintedLines();
  ~PrintedLines();
  PrintedLines(const PrintedLines&) = delete;
  PrintedLines& operator=(const PrintedLines&) = delete;
};

}  // namespace orvel
