#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "phones/AttachedDevices.h"

namespace orvel::cli {

/// Said when no device is attached.
inline constexpr char kNoPhone[] =
    "No phone or player is attached. Plug one in, unlock it and allow file transfer.";

/// Looks for attached phones and players, described ones when a script is named; opens them. May
/// wait for a device that hangs. Throws CommandError (CouldNotRun) when there can be none in this
/// build.
std::vector<AttachedDevice> findPhones(const std::optional<std::string>& scriptedFile);

/// The phone with this serial number or device id. Throws CommandError (CouldNotRun) when there is
/// none.
AttachedDevice phoneNamed(const std::string& serial, const std::vector<AttachedDevice>& phones);

/// What people call a phone: "Maker Model (serial)", as far as it tells them.
std::string nameOf(const AttachedDevice& phone);

/// Why nothing can be read of a phone that shows no storage, with the remedy.
std::string lockedText(const AttachedDevice& phone);

/// Ends the sessions with all phones when it goes.
class PhoneRelease {
 public:
  PhoneRelease() = default;
  ~PhoneRelease() { releaseDevices(); }
  PhoneRelease(const PhoneRelease&) = delete;
  PhoneRelease& operator=(const PhoneRelease&) = delete;
};

}  // namespace orvel::cli
