#include "cli/MountPoint.h"

#include <filesystem>
#include <system_error>

#include "base/Utf8.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "host/obstacleToReading.h"
#include "host/shareRows.h"

namespace orvel::cli {

namespace {

void requireSeparate(const std::string& first, const std::string& second) {
  if (!host::shareRows(first, second)) return;
  throw CommandError(WrongUsage, first + " and " + second +
                                     " cannot be indexed together: one path begins with the other."
                                     " Index them in runs of their own, with a --device-id each.");
}

}  // namespace

std::string cleanPath(const std::string& path) {
  if (path.empty()) throw CommandError(WrongUsage, "A path on the command line is empty.");
  std::error_code error;
  std::string clean = std::filesystem::absolute(path, error).lexically_normal().string();
  if (error) {
    throw CommandError(CouldNotRun, "The working directory cannot be found (" + error.message() +
                                        "). Give absolute paths.");
  }
  if (clean.size() > 1 && clean.back() == '/') clean.pop_back();
  return clean;
}

std::vector<std::string> mountPointsFrom(const std::vector<std::string>& arguments) {
  std::vector<std::string> mountPoints;
  for (const std::string& argument : arguments) {
    const std::string mountPoint = cleanPath(argument);
    if (!utf8::isValid(mountPoint)) {
      throw CommandError(WrongUsage,
                         "The mount point " + mountPoint +
                             " is not valid UTF-8. Mount the device under another name.");
    }
    for (const std::string& earlier : mountPoints) requireSeparate(earlier, mountPoint);
    mountPoints.push_back(mountPoint);
  }
  return mountPoints;
}

void requireReadableFolder(const std::string& mountPoint) {
  const std::string obstacle = host::obstacleToReading(mountPoint);
  if (!obstacle.empty()) throw CommandError(CouldNotRun, obstacle);
}

}  // namespace orvel::cli
