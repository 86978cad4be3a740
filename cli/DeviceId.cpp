#include "cli/DeviceId.h"

#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace orvel::cli {

namespace {

namespace fs = std::filesystem;

bool isOctal(char c) {
  return c >= '0' && c <= '7';
}

/// Resolves octal escapes such as "\040" for a blank; see proc(5).
std::string unescaped(const std::string& field) {
  std::string text;
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) &&
        isOctal(field[i + 2]) && isOctal(field[i + 3])) {
      text += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                (field[i + 3] - '0'));
      i += 3;
    } else {
      text += field[i];
    }
  }
  return text;
}

/// The device node of the file system mounted at `folder`; empty if there is none, or if only a
/// part of a file system is mounted there.
/// Format of a line (proc(5)): id, parent, device, root, mount point, options, optional fields up
/// to
/// "-", type, source. The last mount on a folder hides earlier ones.
std::string mountedDevice(const std::string& folder, const std::string& mountInfo) {
  std::string device;
  std::ifstream table(mountInfo);
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::array<std::string, 5> head;
    for (std::string& field : head) fields >> field;
    if (unescaped(head[4]) != folder) continue;
    std::string field;
    while (fields >> field && field != "-") {
    }
    std::string type;
    std::string source;
    fields >> type >> source;
    device = head[3] == "/" ? unescaped(source) : "";
  }
  return device;
}

std::optional<dev_t> deviceNumber(const std::string& node) {
  struct stat status {};
  if (node.empty() || stat(node.c_str(), &status) != 0) return std::nullopt;
  if (!S_ISBLK(status.st_mode) && !S_ISCHR(status.st_mode)) return std::nullopt;
  return status.st_rdev;
}

}  // namespace

std::string defaultDeviceId(const std::string& folder, const MountTable& table) {
  std::error_code ignored;
  const fs::path resolved = fs::canonical(folder, ignored);
  const auto device = deviceNumber(mountedDevice(resolved.string(), table.mountInfo));
  if (!device) return folder;
  for (const fs::directory_entry& link : fs::directory_iterator(table.uuidLinks, ignored)) {
    if (deviceNumber(link.path().string()) == device) return link.path().filename().string();
  }
  return folder;
}

}  // namespace orvel::cli
