#include "tools/stick/Progress.h"

#include <unistd.h>

#include <cstdio>

namespace orvel::stick {

Progress::Progress(int total) : total(total), visible(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (visible) std::fputs("\n", stderr);
}

void Progress::step() {
  ++done;
  if (visible && (done % 100 == 0 || done == total))
    std::fprintf(stderr, "\r%d of %d songs", done, total);
}

}  // namespace orvel::stick
