#include "tests/support/processStatus.h"

#include <malloc.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/Effort.h"

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

PeakMemory::PeakMemory()
    : measures(!kIsSanitized &&
               (std::ofstream("/proc/self/clear_refs") << "5" << std::flush).good()),
      before(statusKibibytes("VmRSS:")) {}

long PeakMemory::mebibytes() const {
  return measures ? (statusKibibytes("VmHWM:") - before) / 1024 : 0;
}

long allocatedKibibytes() {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const out = open_memstream(&text, &size);
  malloc_info(0, out);
  std::fclose(out);
  const std::string report(text, size);
  std::free(text);
  // The sums of all arenas follow the last of them.
  const auto sumOf = [&, sums = report.rfind("</heap>")](const char* kind) {
    constexpr std::string_view kSize = " size=\"";
    const auto at = report.find(kSize, report.find(kind, sums));
    return std::strtol(report.c_str() + at + kSize.size(), nullptr, 10);
  };
  return (sumOf("<system type=\"current\"") + sumOf("\"mmap\"") - sumOf("\"fast\"") -
          sumOf("\"rest\"")) /
         1024;
}

long entriesOf(const char* folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

bool hasChildren() {
  siginfo_t ended{};
  return waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0;
}

}  // namespace orvel::test
