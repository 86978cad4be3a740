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

/// The folders and tracks that walks over a device have found, by object id, so that names and
/// paths cost no requests. Not thread-safe.
class ObjectTable {
 public:
  /// Begins a walk. Keeps the results of the last walk only for `restoreChildren`.
  void beginWalk(std::vector<DeviceStorage> found);
  /// Sets the children of a folder that was listed.
  void setChildren(std::uint32_t storage, t_track_id folder, std::vector<DeviceObject> listed);
  /// Sets the children of a folder that could not be listed to those of the last walk. Returns
  /// false if that did not list the folder either.
  bool restoreChildren(std::uint32_t storage, t_track_id folder);
  /// Ends a walk and makes the track list.
  void endWalk();

  [[nodiscard]] const std::vector<DeviceStorage>& storages() const { return presentStorages; }
  /// The children of a folder that was listed in this walk; null for any other.
  [[nodiscard]] const std::vector<t_track_id>* children(std::uint32_t storage,
                                                        t_track_id folder) const;
  /// The tracks of the last complete walk in the order of their paths, without hidden and excluded
  /// ones. Of several tracks with one path it holds one.
  [[nodiscard]] const std::vector<t_track_id>& tracks() const { return trackList; }

  /// Null when the object is unknown.
  [[nodiscard]] const DeviceObject* find(t_track_id id) const;
  /// The path from the root of the device; "" when the object is unknown or too deep.
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

  void makeTrackList();
  [[nodiscard]] std::string storagePrefix(std::uint32_t storage) const;

  std::vector<DeviceStorage> presentStorages;
  Walk current;
  Walk earlier;  ///< empty after a complete walk
  std::vector<t_track_id> trackList;
};

}  // namespace orvel
