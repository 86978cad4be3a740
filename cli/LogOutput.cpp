#include "cli/LogOutput.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "cli/ExitStatus.h"

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
  static_cast<ProgressLine*>(user)->print(
      std::string("orvel: ") + nameOf(level) + ": " + origin + text, level);
}

}  // namespace

LogOutput::LogOutput(ProgressLine& line, Settings settings) : chosen(std::move(settings)) {
  chosen.logSink = print;
  chosen.logSinkUser = &line;
  try {
    configure(chosen);
  } catch (const std::runtime_error& error) {
    throw CommandError(CouldNotRun, std::string(error.what()) + ". Or use --log=stderr.");
  }
}

LogOutput::~LogOutput() {
  chosen.logSink = nullptr;
  configure(chosen);
}

}  // namespace orvel::cli
