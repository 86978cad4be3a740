#pragma once

#include <chrono>

/// The limits that device access and the stages that use it share.
namespace orvel {

/// How often a call is repeated while the device is busy, and the pause before each repetition.
inline constexpr int kBusyRetries = 80;
inline constexpr std::chrono::seconds kBusyPause{1};

/// A device that gives no sign of life for this long during a request has timed out. libmtp itself
/// gives up a transfer after 20 seconds, for some devices after 60.
inline constexpr std::chrono::seconds kAnswerTime{25};
/// After this many time-outs in a row a device is given up until the next walk begins.
inline constexpr int kMaxTimeouts = 3;

/// How often a folder is listed at most until two listings agree, and how often that may fail.
inline constexpr int kMaxListings = 4;
inline constexpr int kMaxFailedListings = 2;

/// The most folders on the path of an object. A device may list a folder inside itself.
inline constexpr int kMaxFolderDepth = 128;

}  // namespace orvel
