#pragma once

#include <string>

#include "base/Export.h"

namespace orvel {

/// Where the tags of files are parsed.
enum class TagReading : unsigned char {
  /// In the host's process: a file that makes the parser crash takes the host with it.
  InProcess,
  /// In a process of its own that may do nothing but read the file that it was handed: such a file
  /// costs itself and at most five seconds.
  Isolated
};

/// Chooses for the requests that are made from now on; at start it is `InProcess`. Any thread.
///
/// With `Isolated` each request on a mass-storage device starts one child process, which ends with
/// it. The host may leave its end (SIGCHLD) to Orvel, and may ignore SIGCHLD. When the process
/// cannot be started, a warning is logged, the request's tags are read in-process, and its
/// `ProgressSnapshot::isolationFailed` is true.
/// @param reader  absolute path of the program `orvel-tag-reader`; empty: where it was installed
ORVEL_EXPORT void setTagReading(TagReading reading, const std::string& reader = {});

}  // namespace orvel
