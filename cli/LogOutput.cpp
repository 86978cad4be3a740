#include "cli/LogOutput.h"

#include <string>

#include "base/Log.h"

namespace orvel::cli {

namespace {

const char* nameOf(int level) {
  switch (level) {
    case LOG_ERROR:
      return "error";
    case LOG_WARN:
      return "warning";
    case LOG_INFO:
      return "info";
    case LOG_DEBUG:
      return "debug";
    default:
      return "verbose";
  }
}

void print(void* user, int level, const char* function, int /*line*/, const char* text) {
  const std::string origin = level > LOG_WARN ? std::string(function) + ": " : "";
  static_cast<ProgressLine*>(user)->print(std::string("orvel: ") + nameOf(level) + ": " + origin +
                                          text);
}

}  // namespace

LogOutput::LogOutput(ProgressLine& line, int threshold) {
  setLogThreshold(threshold);
  setLogSink(print, &line);
}

LogOutput::~LogOutput() {
  setLogSink(nullptr, nullptr);
}

}  // namespace orvel::cli
