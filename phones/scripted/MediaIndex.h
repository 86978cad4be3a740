#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "phones/DeviceSession.h"
#include "phones/scripted/ScriptedDevice.h"

namespace orvel::scripted {

/// Which id each object of a device has. An object keeps its id while the description changes.
class ObjectIds {
 public:
  /// `reversed`: numbers are given to the last object first, so that they differ from the usual
  /// ones.
  explicit ObjectIds(bool reversed = false) : isReversed(reversed) {}

  void assign(const std::vector<ScriptedObject>& objects);
  /// The id of the `occurrence`-th object with this path; a new one for an object that is not
  /// there.
  t_track_id of(std::uint32_t storage, const std::string& path, unsigned occurrence = 0);
  [[nodiscard]] bool reversed() const { return isReversed; }

 private:
  using Key = std::tuple<std::uint32_t, std::string, unsigned>;

  bool isReversed;
  t_track_id last = 0;
  std::map<Key, t_track_id> ids;
};

/// A described device, as its objects are asked for. Never changes.
class MediaIndex {
 public:
  MediaIndex(ScriptedDevice description, ObjectIds& ids);
  MediaIndex(const MediaIndex&) = delete;
  MediaIndex& operator=(const MediaIndex&) = delete;

  [[nodiscard]] const ScriptedDevice& device() const { return described; }

  /// Null when there is no such folder; 0 is the storage's root.
  [[nodiscard]] const std::vector<DeviceObject>* children(std::uint32_t storage,
                                                          t_track_id folder) const;
  /// Null when there is none.
  [[nodiscard]] const ScriptedObject* object(t_track_id id) const;
  [[nodiscard]] const std::vector<t_track_id>* members(t_track_id playlist) const;
  /// The path of an object, "/" for 0 and "" for what is unknown.
  [[nodiscard]] std::string pathOf(t_track_id id) const;

 private:
  using Folder = std::pair<std::uint32_t, t_track_id>;  ///< storage and id

  [[nodiscard]] std::uint32_t storageOf(const std::string& path, std::uint32_t preferred) const;
  void add(const ScriptedObject& object, t_track_id id, t_track_id parent);

  const ScriptedDevice described;
  std::map<Folder, std::vector<DeviceObject>> folders;
  std::map<t_track_id, const ScriptedObject*> objects;
  std::map<std::string, std::set<std::uint32_t>> storages;  ///< that hold a path
  std::map<t_track_id, std::vector<t_track_id>> playlists;
};

}  // namespace orvel::scripted
