#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <orvel/AttachedDevices.h>

#include "cli/chooseDevice.h"

namespace orvel::cli {

/// The text for people when no device is attached.
inline constexpr char kNoPhone[] =
    "No phone or player is attached. Plug one in, unlock it and allow file transfer.";

/// Finds and opens the attached phones and players, after attaching those that `scriptedFile`
/// describes. May wait for a device that hangs. Throws CommandError (CouldNotRun) when devices
/// cannot be looked for, or this build reaches no real ones.
std::vector<AttachedDevice> findPhones(const std::optional<std::string>& scriptedFile);

/// Finds the phone with this name, serial number or device id; throws as `chooseDevice`.
AttachedDevice phoneNamed(const std::string& name, const std::vector<AttachedDevice>& phones);

/// The names by which people may choose `phone`.
NamedDevice namesOf(const AttachedDevice& phone);

/// The name of a phone for people: "Maker Model (serial)", without the parts that it does not
/// report.
std::string nameOf(const AttachedDevice& phone);

/// The text for people about a phone that shows no storage, with the remedy.
std::string lockedText(const AttachedDevice& phone);

/// Ends the sessions with all phones on destruction.
class PhoneRelease {
 public:
  PhoneRelease() = default;
  ~PhoneRelease() { releaseDevices(); }
  PhoneRelease(const PhoneRelease&) = delete;
  PhoneRelease& operator=(const PhoneRelease&) = delete;
};

}  // namespace orvel::cli
