#include <unistd.h>

#include "tags/readFile.h"
#include "tags/reader/serveTags.h"

/// The worker: parses tags for the library that started it.
int main(int argumentCount, char** /*arguments*/) {
  // Skips clean-up, which needs system calls that the confinement forbids.
  _exit(orvel::serveTags(orvel::readFile, argumentCount > 1));
}
