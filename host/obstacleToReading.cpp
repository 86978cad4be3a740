#include "host/obstacleToReading.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>

namespace orvel::host {

std::string obstacleToReading(const std::string& folder) {
  if (DIR* const opened = opendir(folder.c_str())) {
    closedir(opened);
    return {};
  }
  const int error = errno;
  const char* remedy = "Check the device and its file system.";
  if (error == ENOENT) remedy = "Mount the device or name another folder.";
  if (error == ENOTDIR) remedy = "Name the folder that holds the music.";
  if (error == EACCES) remedy = "Run as a user who may read it, or change its permissions.";
  return "Cannot read the folder " + folder + " (" + std::strerror(error) + "). " + remedy;
}

}  // namespace orvel::host
