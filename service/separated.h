#pragma once

#include <vector>

#include "hotplug/Medium.h"

namespace orvel::service {

/// A medium as devices whose partitions the indexer can tell apart. A partition whose mount point
/// begins like that of an earlier one (/media/usb, /media/usb1) becomes a device of its own; its
/// number on the medium follows the medium's id.
std::vector<hotplug::Medium> separated(const hotplug::Medium& medium);

}  // namespace orvel::service
