#include "cli/LogOutput.h"

#include <string>
#include <utility>

namespace orvel::cli {

namespace {

const char* nameOf(LogLevel level) {
  switch (level) {
    case LogLevel::Error:
      return "error";
    case LogLevel::Warning:
      return "warning";
    case LogLevel::Info:
      return "info";
    case LogLevel::Debug:
      return "debug";
    default:
      return "verbose";
  }
}

void print(void* user, LogLevel level, const char* function, int /*line*/, const char* text) {
  const std::string origin = level > LogLevel::Warning ? std::string(function) + ": " : "";
  static_cast<ProgressLine*>(user)->print(std::string("orvel: ") + nameOf(level) + ": " + origin +
                                          text);
}

}  // namespace

LogOutput::LogOutput(ProgressLine& line, Settings settings) : chosen(std::move(settings)) {
  chosen.logSink = print;
  chosen.logSinkUser = &line;
  configure(chosen);
}

LogOutput::~LogOutput() {
  chosen.logSink = nullptr;
  configure(chosen);
}

}  // namespace orvel::cli
