#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

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
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  if (utimensat(AT_FDCWD, path(relative).c_str(), times, 0) != 0) {
    throw std::system_error(errno, std::generic_category(), relative);
  }
}

}  // namespace orvel::test
