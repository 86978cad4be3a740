#pragma once

namespace orvel {

/// Keeps libmtp's printing out of the host's output. libmtp prints lines about each device to the C
/// standard output, where a host may be writing its results, and complaints to standard error.
/// While an instance lives, text that its own thread prints through C's `stdout` and `stderr`
/// becomes log lines of level LogLevel::Debug. Other threads print as before; std::cout and
/// std::cerr are not affected. Instances may nest.
class PrintedLines {
 public:
  PrintedLines();
  ~PrintedLines();
  PrintedLines(const PrintedLines&) = delete;
  PrintedLines& operator=(const PrintedLines&) = delete;
};

}  // namespace orvel
