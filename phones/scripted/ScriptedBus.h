#pragma once

#include <memory>

#include "phones/scripted/LiveDevice.h"
#include "phones/scripted/ScriptedDevice.h"

/// The bus that described devices are plugged into; this side is for tests and demonstrations. Any
/// thread.
namespace orvel::scripted {

/// Plugs a device in.
std::shared_ptr<LiveDevice> attach(const ScriptedDevice& device);
/// Pulls a device out, if it is still there, and plugs it in again.
std::shared_ptr<LiveDevice> replug(LiveDevice& device);
/// Pulls out and forgets all devices.
void clear();

}  // namespace orvel::scripted
