#include "tools/stick/StickFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace orvel::stick {
namespace fs = std::filesystem;
namespace {

const char mark[] = ".orvel-stick";
constexpr std::time_t firstTime = 1577880000;  // 2020-01-01 12:00 UTC

}  // namespace

StickFolder::StickFolder(const fs::path& folder) : root(fs::absolute(folder).lexically_normal()) {
  if (!root.has_filename()) root = root.parent_path();
  if (fs::exists(root / mark)) {
    for (const fs::directory_entry& entry : fs::directory_iterator(root)) fs::remove_all(entry);
  }
  fs::create_directories(root);
  if (!fs::is_empty(root)) {
    throw std::runtime_error(root.string() +
                             " is not empty and not a finished stick: name another folder");
  }
}

void StickFolder::writeText(const fs::path& relative, std::string_view bytes) {
  const fs::path file = root / relative;
  if (lastParent != file.parent_path()) {
    lastParent = file.parent_path();
    fs::create_directories(lastParent);
  }
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out)
    throw std::system_error(errno, std::generic_category(), "Cannot write " + file.string());

  const timespec time{firstTime + 2 * filesWritten++, 0};  // FAT has a resolution of two seconds
  const timespec times[] = {time, time};
  if (utimensat(AT_FDCWD, file.c_str(), times, 0) != 0)
    throw std::system_error(errno, std::generic_category(), "Cannot date " + file.string());
}

void StickFolder::write(const fs::path& relative, const TagLib::ByteVector& bytes) {
  writeText(relative, std::string_view(bytes.data(), bytes.size()));
}

void StickFolder::finish() {
  write(mark, "Made by orvel-make-stick, which may empty this folder.\n");
}

}  // namespace orvel::stick
