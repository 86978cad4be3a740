#pragma once

#include <string>

#include "tests/mtp/responder/Responder.h"

namespace orvel::test {

struct Player {
  DeviceIdentity identity;
  Media media;
};

/// The first device of a device script (docs/mtp.md). What only a device without a bus can do
/// (faults, folders within themselves) is refused with std::runtime_error, as are faulty scripts.
Player describedPlayer(const std::string& script);

}  // namespace orvel::test
