#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "phones/DeviceSession.h"

namespace orvel {

/// What walks over a device have found: its folders and tracks by object id, so that names and
/// paths cost no traffic. Not thread-safe.
class ObjectTable {
 public:
  /// Begins a walk. What the earlier one found is kept only to stand in for folders that cannot be
  /// listed now.
  void beginWalk(std::vector<DeviceStorage> found);
  /// Takes the children of a folder as they were listed now.
  void setChildren(std::uint32_t storage, t_track_id folder, std::vector<DeviceObject> listed);
  /// Takes the children of a folder from the earlier walk; false when that knew none.
  bool restoreChildren(std::uint32_t storage, t_track_id folder);
  /// Ends a walk: the track list is made.
  void endWalk();

  [[nodiscard]] const std::vector<DeviceStorage>& storages() const { return presentStorages; }
  /// The children of a folder that was listed in this walk; null for any other.
  [[nodiscard]] const std::vector<t_track_id>* children(std::uint32_t storage,
                                                        t_track_id folder) const;
  /// The tracks of the last complete walk in the order of their paths. Hidden and excluded ones are
  /// left out, and of several with one path all but one.
  [[nodiscard]] const std::vector<t_track_id>& tracks() const { return trackList; }

  /// Null when the object is unknown.
  [[nodiscard]] const DeviceObject* find(t_track_id id) const;
  /// From the root of the device; "" when the object is unknown or lies too deep.
  [[nodiscard]] std::string path(t_track_id id) const;
  /// The identifier of a track on the device `deviceId`; "" when the track is unknown.
  [[nodiscard]] std::string objectId(t_track_id id, std::string_view deviceId) const;

 private:
  struct Entry {
    DeviceObject object;
    t_track_id parent;
  };
  using Folder = std::pair<std::uint32_t, t_track_id>;  ///< storage and folder
  struct Walk {
    std::unordered_map<t_track_id, Entry> objects;
    std::map<Folder, std::vector<t_track_id>> children;
  };

  [[nodiscard]] std::string storagePrefix(std::uint32_t storage) const;

  std::vector<DeviceStorage> presentStorages;
  Walk current;
  Walk earlier;
  std::vector<t_track_id> trackList;
};

}  // namespace orvel
