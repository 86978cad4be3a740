#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <linux/time_types.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace orvel::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : root((fs::temp_directory_path() / "orvel-XXXXXX").string()) {
  if (mkdtemp(root.data()) == nullptr)
    throw std::system_error(errno, std::generic_category(), root);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(root, ignored);
}

std::string TemporaryFolder::file(const std::string& relative, const std::string& content) const {
  const fs::path target = path(relative);
  fs::create_directories(target.parent_path());
  std::ofstream out;
  out.exceptions(std::ios::failbit | std::ios::badbit);
  out.open(target, std::ios::binary);
  out << content;
  return target.string();
}

std::string TemporaryFolder::folder(const std::string& relative) const {
  fs::create_directories(path(relative));
  return path(relative);
}

void TemporaryFolder::touch(const std::string& relative, long long seconds) const {
  // The kernel's own call: time_t may have 32 bits, and dates after 2038 are to be tested.
#ifdef SYS_utimensat_time64
  constexpr long kCall = SYS_utimensat_time64;
#else
  constexpr long kCall = SYS_utimensat;
#endif
  const __kernel_timespec times[2] = {{seconds, 0}, {seconds, 0}};
  if (syscall(kCall, AT_FDCWD, path(relative).c_str(), times, 0) != 0) {
    throw std::system_error(errno, std::generic_category(), relative);
  }
}

}  // namespace orvel::test
