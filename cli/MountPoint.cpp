#include "cli/MountPoint.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <system_error>

#include "base/Utf8.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/OwnOutput.h"
#include "cli/chooseDevice.h"
#include "host/DeviceId.h"
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

/// The path that `argument` stands for.
std::string pathNamed(const std::string& argument) {
  std::error_code ignored;
  const bool isPath =
      argument.find('/') != std::string::npos || std::filesystem::exists(argument, ignored);
  if (isPath) return cleanPath(argument);
  const std::vector<host::MountedMedium> media = host::mountedMedia();
  std::vector<NamedDevice> names;
  names.reserve(media.size());
  for (const host::MountedMedium& medium : media) {
    names.push_back({medium.deviceId, {medium.label}});
  }
  const auto found = findDevice(argument, names);
  return found ? media[*found].mountPoint : cleanPath(argument);
}

/// Asks at the terminal; false where there is none.
bool agrees(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0 || isatty(errorDescriptor()) == 0) return false;
  std::cerr << displayText(question) << " [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
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
    const std::string mountPoint = pathNamed(argument);
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

void requireReadableFolder(const std::string& mountPoint, bool mayBeEmpty) {
  const std::string obstacle = host::obstacleToReading(mountPoint);
  if (!obstacle.empty()) throw CommandError(CouldNotRun, obstacle);
  std::error_code ignored;
  if (mayBeEmpty || !std::filesystem::is_empty(mountPoint, ignored)) return;
  const std::string finding = mountPoint + " is empty. ";
  if (agrees(finding + "Index it all the same, and forget its songs?")) return;
  throw CommandError(CouldNotRun, finding +
                                      "Mount the device there. If it really is empty, index it"
                                      " with --allow-empty.");
}

}  // namespace orvel::cli
