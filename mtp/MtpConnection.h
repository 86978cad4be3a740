#pragma once

#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "framework/RequestProgress.h"
#include "phones/DeviceTypes.h"

namespace orvel {

struct MetaDataInfo;
struct MtpDirectory;
struct Playlist;

/// Gives the MTP stages access to one device. A stage makes one for each batch and uses it on its
/// own thread only. No operation throws for a device failure: each logs one line and returns a
/// default.
class MtpConnection {
 public:
  /// @param handle    0 for no device
  /// @param deviceId  not copied: it must outlive the connection
  MtpConnection(t_handle handle, const std::string& deviceId);
  ~MtpConnection();
  MtpConnection(const MtpConnection&) = delete;
  MtpConnection& operator=(const MtpConnection&) = delete;

  /// The path of a track from the root of the device; "" when it is unknown.
  std::string getTrackFilePath(t_track_id id);
  /// Loads the lists of tracks, at most `Limits::songs`, and of playlists; the caller frees them.
  /// False when the device is gone or does not answer.
  bool loadDeviceData(t_playlist_items_list& tracks, t_playlist_items_list& playlists);
  /// Seconds since the epoch.
  std::int32_t getTrackDateModifiedEpoch(t_track_id id);
  /// @param deviceKey  the device's mount point
  /// @param rootName   the name that replaces the parent of a top folder
  std::unique_ptr<MtpDirectory> generateDirectory(const std::string& path,
                                                  const std::string& deviceKey,
                                                  const std::string& rootName);
  /// Makes the record of a track, with the texts that could be read; null for a hidden or excluded
  /// one and when the device is gone or given up.
  /// @param key       the device's mount point
  /// @param modified  seconds since the epoch
  std::unique_ptr<MetaDataInfo> generateTrack(const std::string& path, const std::string& key,
                                              t_track_id id, std::time_t modified);
  /// Makes the record of the playlist with object id `index`; null when it has no entries.
  /// @param owner  the device's identifier
  /// @param key    the device's mount point
  std::unique_ptr<Playlist> generatePlaylist(const std::string& owner, const std::string& key,
                                             std::size_t index);
  /// Lists every folder that is not black-listed, so that the device-access library can answer for
  /// paths afterwards. Returns whether the whole device was walked.
  bool crawlMtpDevice();
  /// Appends the folders of the tracks and their ancestors to `dirs`, each once, in the order of
  /// discovery. The root of the device is the empty path.
  void MTPCreateDirCache(std::vector<std::string>& dirs, t_playlist_items_list& tracks);

  /// False when this connection failed to read a folder or a list completely.
  [[nodiscard]] bool isComplete() const;
  /// The folders that `crawlMtpDevice` could not list completely; "" for the whole device.
  [[nodiscard]] const std::vector<std::string>& doubtfulFolders() const;
  /// Why the last track could not be read completely; nothing when it was.
  [[nodiscard]] std::optional<LeftUndone> trackFailure() const;
  /// True when the device has more tracks than are loaded.
  [[nodiscard]] bool limitReached() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

}  // namespace orvel
