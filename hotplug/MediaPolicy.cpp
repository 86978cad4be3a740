#include "hotplug/MediaPolicy.h"

#include <fnmatch.h>

#include <algorithm>
#include <map>
#include <set>

namespace orvel::hotplug {

namespace {

bool isWithin(const std::string& mountPoint, const std::string& root) {
  return mountPoint.compare(0, root.size(), root) == 0 &&
         (mountPoint.size() == root.size() || mountPoint[root.size()] == '/');
}

bool isWithinAny(const std::string& mountPoint, const std::vector<std::string>& roots) {
  return std::any_of(roots.begin(), roots.end(),
                     [&](const std::string& root) { return isWithin(mountPoint, root); });
}

/// The mounts that no later one on the same folder hides.
std::vector<const Mount*> visible(const std::vector<Mount>& table) {
  std::set<std::string> seen;
  std::vector<const Mount*> mounts;
  for (auto mount = table.rbegin(); mount != table.rend(); ++mount) {
    if (seen.insert(mount->mountPoint).second) mounts.push_back(&*mount);
  }
  std::reverse(mounts.begin(), mounts.end());
  return mounts;
}

/// The devices whose first mount is not below `roots`.
std::set<dev_t> devicesOfTheSystem(const std::vector<Mount>& table,
                                   const std::vector<std::string>& roots) {
  std::set<dev_t> known;
  std::set<dev_t> system;
  for (const Mount& mount : table) {
    const bool isFirst = known.insert(mount.device).second;
    if (isFirst && !isWithinAny(mount.mountPoint, roots)) system.insert(mount.device);
  }
  return system;
}

}  // namespace

std::vector<Mount> MediaPolicy::select(const std::vector<Mount>& table) const {
  const std::set<dev_t> system = devicesOfTheSystem(table, roots);
  std::vector<Mount> selected;
  std::map<dev_t, std::size_t> places;
  for (const Mount* mount : visible(table)) {
    if (!isWithinAny(mount->mountPoint, roots) || excludes(mount->mountPoint)) continue;
    if (mount->device == 0) {
      const bool isWanted = std::find(types.begin(), types.end(), mount->type) != types.end();
      if (isWanted) selected.push_back(*mount);
      continue;
    }
    if (system.count(mount->device) != 0) continue;
    const auto [place, isNew] = places.try_emplace(mount->device, selected.size());
    if (isNew) {
      selected.push_back(*mount);
    } else if (mount->root == "/" && selected[place->second].root != "/") {
      selected[place->second] = *mount;
    }
  }
  return selected;
}

bool MediaPolicy::excludes(const std::string& name) const {
  return std::any_of(exclude.begin(), exclude.end(), [&](const std::string& pattern) {
    return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
  });
}

}  // namespace orvel::hotplug
