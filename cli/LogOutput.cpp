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

}  // namespace

void LogOutput::print(void* user, LogLevel level, const char* function, int /*line*/,
                      const char* text) {
  auto& self = *static_cast<LogOutput*>(user);
  if (self.sumsUp && level == LogLevel::Warning && self.digest.take(text)) return;
  const std::string origin = level > LogLevel::Warning ? std::string(function) + ": " : "";
  self.line.print(std::string("orvel: ") + nameOf(level) + ": " + origin + text, level);
}

LogOutput::LogOutput(ProgressLine& progressLine, Settings settings, bool isSummedUp)
    : line(progressLine), chosen(std::move(settings)), sumsUp(isSummedUp) {
  chosen.logSink = print;
  chosen.logSinkUser = this;
  try {
    configure(chosen);
  } catch (const std::runtime_error& error) {
    throw CommandError(CouldNotRun, std::string(error.what()) + ". Or use --log=stderr.");
  }
}

LogOutput::~LogOutput() {
  chosen.logSink = nullptr;
  configure(chosen);
  for (const std::string& text : digest.lines()) line.print("orvel: " + text, LogLevel::Warning);
}

}  // namespace orvel::cli
