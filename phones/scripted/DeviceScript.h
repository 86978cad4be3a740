#pragma once

#include <string>
#include <vector>

#include "phones/scripted/ScriptedDevice.h"

namespace orvel::scripted {

/// Reads the devices that a text file describes, one thing a line; docs/mtp.md has the format.
/// Throws std::runtime_error with a text for people that names file, line and remedy.
std::vector<ScriptedDevice> readDeviceScript(const std::string& file);

}  // namespace orvel::scripted
