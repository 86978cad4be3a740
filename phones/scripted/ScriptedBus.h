#pragma once

#include <string>

#include "phones/scripted/LiveDevice.h"
#include "phones/scripted/ScriptedDevice.h"

/// The bus that described devices are plugged into; this side is for tests and demonstrations. Any
/// thread. Devices are named by their bus paths; an unknown one throws std::out_of_range.
namespace orvel::scripted {

/// Plugs a device in and returns its bus path.
std::string attach(const ScriptedDevice& device);
/// Pulls a device out. What waits on it ends; it can still be asked about.
void detach(const std::string& path);
/// Pulls a device out, if it is still there, and plugs it in again: returns the new bus path.
std::string replug(const std::string& path);
/// Pulls out and forgets all devices.
void clear();

/// Replaces what an attached device is and holds; objects keep their ids, faults count anew.
void update(const std::string& path, const ScriptedDevice& device);
/// Lets blocked operations of a device go on.
void release(const std::string& path);
/// How many operations of a device are blocked.
unsigned blocked(const std::string& path);
/// What a device was asked since it was plugged in.
Journal journal(const std::string& path);
/// The id that the first object with this path has on the device.
t_track_id idOf(const std::string& path, const std::string& objectPath);

}  // namespace orvel::scripted
