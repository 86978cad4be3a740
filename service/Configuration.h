#pragma once

#include <orvel/Settings.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "hotplug/MediaPolicy.h"

namespace orvel::service {

/// All that an administrator can choose for the service. A new object has the defaults.
struct Configuration {
  Configuration();

  bool autoIndex = true;  ///< indexes each medium and phone that appears, unasked
  bool phones = true;     ///< looks for phones and players
  hotplug::MediaPolicy media;
  Settings settings;  ///< for the library; without a log sink
  /// The service ends after this time without work and clients; nothing: never.
  std::optional<std::chrono::seconds> idleExit;
};

/// A configuration, and for people a text about each part of its file that does not count:
/// "FILE:LINE: the fault and the remedy".
struct ConfigurationReading {
  Configuration configuration;
  std::vector<std::string> problems;
};

/// The name of a region in the file.
const char* nameOf(TextRegion region);

/// Reads the key file at `path`; `orveld.conf` describes its keys. A key with a wrong value keeps
/// its default; if the file cannot be read or parsed, all do. An absent file is a problem, too: a
/// caller that can do without one looks first. Any thread.
ConfigurationReading readConfiguration(const std::string& path);

}  // namespace orvel::service
