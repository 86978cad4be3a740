#include <unistd.h>

#include "tags/readTags.h"
#include "tags/reader/TagService.h"

/// The process that the library has tags parsed by.
int main() {
  // Without clean-up: the process is left no more than reading takes.
  _exit(orvel::serveTags(orvel::readTags));
}
