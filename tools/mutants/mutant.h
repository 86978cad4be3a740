#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

/// Which fault is switched on, and where to note the faults that are reached. Mapped before main():
/// a confined process opens no files later.
struct MutantState {
  MutantState() {
    if (const char* number = std::getenv("LD_ORVEL_MUTANT")) active = std::atoi(number);
    const char* file = std::getenv("LD_ORVEL_REACHED");
    const int descriptor = file != nullptr ? open(file, O_RDWR | O_CLOEXEC) : -1;
    if (descriptor < 0) return;
    void* mapped = mmap(nullptr, kMost, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (mapped != MAP_FAILED) reached = static_cast<char*>(mapped);
    close(descriptor);
  }
  static constexpr int kMost = 4096;
  inline static char ignored[kMost];
  inline static char* reached = ignored;
  inline static int active = -1;
};
inline const MutantState mutantState;

/// Whether this fault is switched on.
inline bool mutant(int number) {
  mutantState.reached[number] = 1;
  return mutantState.active == number;
}
