#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvel::cli {

/// A device and the names by which people may choose it.
struct NamedDevice {
  std::string id;
  std::vector<std::string> names;  ///< label, mount points, serial number; the first is for people
};

/// Finds the device that `wanted` names: its id or one of its names, a name in another case, or the
/// beginning of an id that no other device shares. Returns its place in `devices`; nothing if there
/// is none. Throws CommandError (CouldNotRun) if several are meant.
std::optional<std::size_t> findDevice(const std::string& wanted,
                                      const std::vector<NamedDevice>& devices);

/// The same, and throws CommandError (CouldNotRun), which lists the devices, if there is none.
/// @param kind    for people: "known", "attached"
/// @param remedy  for people, for when there are no devices at all
std::size_t chooseDevice(const std::string& wanted, const std::vector<NamedDevice>& devices,
                         const std::string& kind, const std::string& remedy);

/// Lists devices on one line for people: "STICK (2A4B-11C0), Blue phone (18d1:4ee1:A1)".
std::string listed(const std::vector<NamedDevice>& devices);

}  // namespace orvel::cli
