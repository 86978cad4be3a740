#include "cli/OwnOutput.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include <iostream>

#include "base/journal.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"

namespace orvel::cli {

namespace {

int ownError = STDERR_FILENO;

int duplicate(int descriptor) {
  return fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

/// Makes `stream` write to `descriptor` for the rest of the process.
void lead(std::ostream& stream, int descriptor) {
  // Never destroyed: the standard streams are flushed after the main function.
  stream.flush();
  stream.rdbuf(new __gnu_cxx::stdio_filebuf<char>(descriptor, std::ios::out));
}

}  // namespace

int errorDescriptor() {
  return ownError;
}

std::size_t outputColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void finishOutput() {
  std::cout.flush();
  if (!std::cout) {
    throw CommandError(CouldNotRun, "The output cannot be written. Is the disk full?");
  }
}

void printError(const std::string& text) {
  std::cerr << journalPrefix(ownError, LogLevel::Error) << "orvel: " << displayText(text)
            << std::endl;
}

void divertLibmtp(bool isShown) {
  const int output = duplicate(STDOUT_FILENO);
  const int error = duplicate(STDERR_FILENO);
  const int sink = isShown ? duplicate(STDERR_FILENO) : open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (output >= 0 && error >= 0 && sink >= 0) {
    lead(std::cout, output);
    lead(std::cerr, error);
    ownError = error;
    dup2(sink, STDOUT_FILENO);
    dup2(sink, STDERR_FILENO);
  }
  if (sink >= 0) close(sink);
}

}  // namespace orvel::cli
