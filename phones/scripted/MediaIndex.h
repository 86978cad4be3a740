#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "phones/DeviceSession.h"
#include "phones/scripted/ScriptedDevice.h"

namespace orvel::scripted {

/// The ids of a device's objects. An object keeps its id while the description changes.
class ObjectIds {
 public:
  /// The id of the `occurrence`-th object with this path; a new one for an unknown object.
  t_track_id of(std::uint32_t storage, const std::string& path, unsigned occurrence = 0);
  /// Forgets all ids and does not use them again.
  void renumber() { ids.clear(); }

 private:
  t_track_id last = 0;
  std::map<std::tuple<std::uint32_t, std::string, unsigned>, t_track_id> ids;
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
  /// The path of an object, "/" for 0 and "" for an unknown id.
  [[nodiscard]] std::string pathOf(t_track_id id) const;

 private:
  [[nodiscard]] std::uint32_t storageOf(const std::string& path, std::uint32_t preferred) const;

  const ScriptedDevice described;
  std::map<std::pair<std::uint32_t, t_track_id>, std::vector<DeviceObject>> folders;
  std::map<t_track_id, const ScriptedObject*> objects;
  std::map<t_track_id, std::vector<t_track_id>> playlists;
};

}  // namespace orvel::scripted
