#include "db/DatabaseFolder.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/Log.h"
#include "base/md5Hex.h"

namespace orvel {

namespace {

constexpr int kOwnerOnly = 0700;
constexpr std::size_t kReadableCharacters = 24;

/// The part of the file name by which people recognise the device.
std::string readablePart(const std::string& deviceId) {
  std::string part = deviceId.substr(0, kReadableCharacters);
  for (char& c : part) {
    if (g_ascii_isalnum(c) == 0 && c != '-' && c != '_') c = '_';
  }
  return part;
}

/// Whoever may write to the folder can put files of their own in the place of databases.
void warnOfOtherWriters(const std::string& directory) {
  struct stat status {};
  if (stat(directory.c_str(), &status) != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return;
  OV_WARN("other users may write to %s; give it the mode 0700", directory.c_str());
}

}  // namespace

DatabaseFolder::~DatabaseFolder() {
  if (lockFile >= 0) close(lockFile);
}

void DatabaseFolder::set(const std::string& directory) {
  const MutexLock lock(mutex);
  if (lockFile >= 0) close(lockFile);
  lockFile = -1;
  // One name for one folder: SQLite, too, names its files by the resolved path.
  std::error_code error;
  path = std::filesystem::weakly_canonical(directory, error).string();
  if (error) path = directory;
}

std::string DatabaseFolder::get() const {
  const MutexLock lock(mutex);
  return path;
}

void DatabaseFolder::create() {
  const MutexLock lock(mutex);
  if (g_mkdir_with_parents(path.c_str(), kOwnerOnly) != 0) {
    const int error = errno;
    OV_WARN("cannot create the database folder %s: %s", path.c_str(), std::strerror(error));
    return;
  }
  lockOnce(path);
}

void DatabaseFolder::lockOnce(const std::string& directory) {
  if (lockFile >= 0) return;
  warnOfOtherWriters(directory);
  const std::string lock = directory + "/orvel.lock";
  lockFile = open(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (lockFile < 0) {
    const int error = errno;
    OV_WARN("cannot open %s: %s", lock.c_str(), std::strerror(error));
  } else if (flock(lockFile, LOCK_EX | LOCK_NB) != 0) {
    OV_WARN("another process indexes into %s; give each its own folder", directory.c_str());
  }
}

std::string DatabaseFolder::fileFor(const std::string& deviceId) const {
  return get() + "/" + readablePart(deviceId) + "-" + md5Hex(deviceId) + ".db";
}

void DatabaseFolder::flush() const {
  const int folder = open(get().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  fsync(folder);
  close(folder);
}

}  // namespace orvel
