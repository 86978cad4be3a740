#include "service/separated.h"

#include <algorithm>

#include "host/shareRows.h"

namespace orvel::service {

std::vector<hotplug::Medium> separated(const hotplug::Medium& medium) {
  std::vector<hotplug::Medium> devices{{medium.deviceId, medium.name, {}}};
  for (const hotplug::Partition& partition : medium.partitions) {
    const auto& together = devices.front().partitions;
    const bool fits =
        std::none_of(together.begin(), together.end(), [&](const hotplug::Partition& earlier) {
          return host::shareRows(earlier.mountPoint, partition.mountPoint);
        });
    if (fits) {
      devices.front().partitions.push_back(partition);
      continue;
    }
    const std::string number =
        partition.node.substr(partition.node.find_last_not_of("0123456789") + 1);
    const std::string& name = partition.label.empty() ? medium.name : partition.label;
    devices.push_back({medium.deviceId + ":" + number, name, {partition}});
  }
  return devices;
}

}  // namespace orvel::service
