#pragma once

#include <chrono>

/// The limits that device access and the stages that use it share.
namespace orvel {

/// How often a call is repeated while the device is busy, and the pause before each repetition.
inline constexpr int kBusyRetries = 80;
inline constexpr std::chrono::seconds kBusyPause{1};

/// The most folders on the path of an object. A device may list a folder inside itself.
inline constexpr int kMaxFolderDepth = 128;

}  // namespace orvel
