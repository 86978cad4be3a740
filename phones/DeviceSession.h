#pragma once

#include <orvel/AttachedDevices.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "phones/DeviceTypes.h"

namespace orvel {

/// How a device describes itself when it is opened.
struct DeviceDescription {
  std::string maker;
  std::string model;
  std::string serial;
  std::string error;  ///< for people: why the device could not be opened, with the remedy
};

/// One object as its device lists it.
struct DeviceObject {
  t_track_id id = 0;
  std::uint32_t storage = 0;
  std::string name;  ///< as the device sent it
  bool isFolder = false;
  bool isAudio = false;      ///< a song, by its format or by its name
  std::uint32_t format = 0;  ///< for the implementation's own use
  std::uint64_t size = 0;    ///< in bytes
  std::time_t modified = 0;  ///< 0 when unknown
};

struct DeviceTags {
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  std::string composer;
  std::uint16_t trackNumber = 0;
  std::uint32_t milliseconds = 0;  ///< length of the sound, 0 when unknown
  std::uint32_t year = 0;          ///< 0 when unknown
};

struct DevicePlaylist {
  t_track_id id = 0;
  std::string name;
};

/// The session with one device. Each implementation of device access derives one. All calls and the
/// destructor run on the device's own thread and may block there.
///
/// Calls answer STATUS_OK; STATUS_NOT_OK when the object is unknown or the device refuses;
/// STATUS_NOT_SUPPORTED; STATUS_BUSY; STATUS_NOT_OK_BAD_HANDLE when the device is gone, after which
/// no further call is made; STATUS_NOT_OK_GENERIC_PLUGIN_ERROR for any other failure. Results are
/// empty on failure.
class DeviceSession {
 public:
  DeviceSession() = default;
  virtual ~DeviceSession() = default;
  DeviceSession(const DeviceSession&) = delete;
  DeviceSession& operator=(const DeviceSession&) = delete;

  /// The first call. With any status but STATUS_OK the device cannot be used.
  virtual t_status open(DeviceDescription& description) = 0;
  /// A locked device answers STATUS_OK and no storage.
  virtual t_status listStorages(std::vector<DeviceStorage>& storages) = 0;
  /// Lists the children of a folder; 0 is the storage's root. A child that the device does not
  /// describe may be missing.
  virtual t_status listFolder(std::uint32_t storage, t_track_id folder,
                              std::vector<DeviceObject>& children) = 0;
  /// Reads the tags that the device itself keeps for a track; STATUS_NOT_SUPPORTED if it keeps
  /// none.
  virtual t_status readTags(const DeviceObject& track, DeviceTags& tags) = 0;
  /// Reads up to `length` bytes of a track from `offset` on; fewer at the end of the track.
  virtual t_status readBytes(const DeviceObject& track, std::uint64_t offset, std::uint32_t length,
                             std::string& bytes) = 0;
  /// Lists the playlists in the folders that this session has listed.
  virtual t_status listPlaylists(std::vector<DevicePlaylist>& playlists) = 0;
  virtual t_status playlistMembers(t_track_id playlist, std::vector<t_track_id>& members) = 0;
};

}  // namespace orvel
