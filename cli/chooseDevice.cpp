#include "cli/chooseDevice.h"

#include <orvel/Search.h>
#include <strings.h>

#include <algorithm>
#include <functional>
#include <iterator>

#include "cli/ExitStatus.h"

namespace orvel::cli {

namespace {

using Fits = std::function<bool(const NamedDevice&)>;

bool isAnyName(const NamedDevice& device, const std::function<bool(const std::string&)>& fits) {
  return std::any_of(device.names.begin(), device.names.end(), fits);
}

/// From the strictest to the laxest.
std::vector<Fits> waysToFit(const std::string& wanted) {
  return {[wanted](const NamedDevice& device) { return device.id == wanted; },
          [wanted](const NamedDevice& device) {
            return isAnyName(device, [&](const std::string& name) { return name == wanted; });
          },
          [folded = foldedText(wanted)](const NamedDevice& device) {
            return isAnyName(device,
                             [&](const std::string& name) { return foldedText(name) == folded; });
          },
          [wanted](const NamedDevice& device) {
            return !wanted.empty() &&
                   strncasecmp(device.id.c_str(), wanted.c_str(), wanted.size()) == 0;
          }};
}

}  // namespace

std::string listed(const std::vector<NamedDevice>& devices) {
  std::string text;
  for (const NamedDevice& device : devices) {
    text += (text.empty() ? "" : ", ") + device.names.front();
    if (device.names.front() != device.id) text += " (" + device.id + ")";
  }
  return text;
}

std::optional<std::size_t> findDevice(const std::string& wanted,
                                      const std::vector<NamedDevice>& devices) {
  for (const Fits& fits : waysToFit(wanted)) {
    std::vector<NamedDevice> found;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(found), fits);
    if (found.size() > 1) {
      throw CommandError(CouldNotRun, "'" + wanted + "' may be any of " + listed(found) +
                                          ". Give more of its id.");
    }
    if (found.empty()) continue;
    return static_cast<std::size_t>(std::find_if(devices.begin(), devices.end(), fits) -
                                    devices.begin());
  }
  return std::nullopt;
}

std::size_t chooseDevice(const std::string& wanted, const std::vector<NamedDevice>& devices,
                         const std::string& kind, const std::string& remedy) {
  if (const auto found = findDevice(wanted, devices)) return *found;
  throw CommandError(
      CouldNotRun,
      "No " + kind + " device is called '" + wanted + "'. " +
          (devices.empty() ? remedy : "These are " + kind + ": " + listed(devices) + "."));
}

}  // namespace orvel::cli
