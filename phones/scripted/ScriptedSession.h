#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "phones/DeviceSession.h"
#include "phones/scripted/LiveDevice.h"

namespace orvel::scripted {

/// The connection with a described device.
class ScriptedSession : public DeviceSession {
 public:
  explicit ScriptedSession(std::shared_ptr<LiveDevice> connected) : device(std::move(connected)) {}

  t_status open(DeviceDescription& description) override;
  t_status listStorages(std::vector<DeviceStorage>& storages) override;
  t_status listFolder(std::uint32_t storage, t_track_id folder,
                      std::vector<DeviceObject>& children) override;
  t_status readTags(const DeviceObject& track, DeviceTags& tags) override;
  t_status readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                     std::string& bytes) override;
  t_status listPlaylists(std::vector<DevicePlaylist>& playlists) override;
  t_status playlistMembers(t_track_id playlist, std::vector<t_track_id>& members) override;

 private:
  /// Copies the result of `find` from the media, as far as faults allow.
  template <class Items, class Find>
  t_status list(const char* function, std::optional<t_track_id> object, Items& items, Find find);

  std::shared_ptr<LiveDevice> device;
  /// The folders that were listed, by storage and id. A host may ask for the storages while a walk
  /// is under way, so that this does not begin them again.
  std::set<std::pair<std::uint32_t, t_track_id>> listedFolders;
};

}  // namespace orvel::scripted
