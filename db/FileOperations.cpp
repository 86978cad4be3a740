#include "db/FileOperations.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/Descriptor.h"
#include "base/Log.h"

namespace orvel::fileOperations {

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

bool isLink(const std::string& path) {
  struct statx status {};
  return statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0 &&
         S_ISLNK(status.stx_mode);
}

std::int64_t size(const std::string& path) {
  // Where time_t has 32 bits, stat refuses files that are dated after 2038.
  struct statx status {};
  const int result = statx(AT_FDCWD, path.c_str(), 0, STATX_SIZE, &status);
  return result == 0 ? static_cast<std::int64_t>(status.stx_size) : 0;
}

bool remove(const std::string& path) {
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return true;
  const int error = errno;
  OV_WARN("cannot remove %s: %s", path.c_str(), std::strerror(error));
  return false;
}

void mark(const std::string& path) {
  if (Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600))) return;
  const int error = errno;
  OV_WARN("cannot create %s: %s", path.c_str(), std::strerror(error));
}

bool isFolderWithEntries(const std::string& path) {
  DIR* const folder = opendir(path.c_str());
  if (folder == nullptr) return false;
  bool found = false;
  while (const dirent* entry = readdir(folder)) {
    const std::string_view name = entry->d_name;
    found = found || (name != "." && name != "..");
  }
  closedir(folder);
  return found;
}

}  // namespace orvel::fileOperations
