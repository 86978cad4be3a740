#include "tests/support/processStatus.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orvel::test {

namespace fs = std::filesystem;

long statusKibibytes(std::string_view field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, field.size(), field) == 0) {
      return std::strtol(line.c_str() + field.size() + 1, nullptr, 10);
    }
  }
  return 0;
}

long entriesOf(const char* folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

bool hasChildren() {
  siginfo_t ended{};
  return waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0;
}

}  // namespace orvel::test
