#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "phones/DeviceSession.h"

namespace orvel {

/// The folders and tracks that walks over a device have found, by object id, so that names and
/// paths cost no requests. Not thread-safe.
class ObjectTable {
 public:
  /// Tells which songs the coming walk will probably find, by their paths.
  void expect(const std::vector<std::string>& songs);
  /// Whether a folder that was listed holds everything that is expected below it, and no song
  /// besides. False where nothing is expected.
  [[nodiscard]] bool isAsExpected(std::uint32_t storage, t_track_id folder,
                                  const std::vector<DeviceObject>& listed) const;

  /// Begins a walk and forgets the last one.
  void beginWalk(std::vector<DeviceStorage> found);
  /// Sets the children of a folder that was listed; returns them.
  const std::vector<t_track_id>& setChildren(std::uint32_t storage, t_track_id folder,
                                             std::vector<DeviceObject> listed);
  /// Ends a walk and makes the track list. Forgets the expected songs.
  void endWalk();

  [[nodiscard]] const std::vector<DeviceStorage>& storages() const { return presentStorages; }
  /// The children of a folder that was listed in this walk; null for any other.
  [[nodiscard]] const std::vector<t_track_id>* children(std::uint32_t storage,
                                                        t_track_id folder) const;
  /// The tracks of the last complete walk in the order of their paths, without hidden and excluded
  /// ones. Of several tracks with one path it holds one.
  [[nodiscard]] const std::vector<t_track_id>& tracks() const { return trackList; }

  /// The picture file in a track's folder that is its cover; null when there is none.
  [[nodiscard]] const DeviceObject* folderPicture(t_track_id track) const;

  /// The track with this path in the track list; null when there is none.
  [[nodiscard]] const DeviceObject* findTrack(const std::string& trackPath) const;
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

  void makeTrackList();
  void findPicture(std::uint32_t storage, t_track_id folder);
  [[nodiscard]] std::string storagePrefix(std::uint32_t storage) const;

  std::vector<DeviceStorage> presentStorages;
  std::unordered_map<t_track_id, Entry> objects;
  /// By storage and folder.
  std::map<std::pair<std::uint32_t, t_track_id>, std::vector<t_track_id>> childrenOf;
  /// The best picture file for covers, by storage and folder.
  std::map<std::pair<std::uint32_t, t_track_id>, t_track_id> pictures;
  /// The names of songs and folders, by the path of their folder.
  std::unordered_map<std::string, std::unordered_set<std::string>> expected;
  std::vector<t_track_id> trackList;
};

}  // namespace orvel
