#pragma once

#include <bitset>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "phones/DeviceSession.h"
#include "phones/libmtp/ErrorStack.h"
#include "phones/libmtp/LibmtpLibrary.h"

namespace orvel {

/// The connection with a real device. libmtp reports failures poorly: a refusal, a busy device and
/// an object that could not be read look alike, and some failures leave no error at all. Every
/// doubtful result is therefore followed by the probe, an operation without a data phase, for which
/// libmtp does report the device's response code.
class LibmtpSession : public DeviceSession {
 public:
  explicit LibmtpSession(const UsbAddress& busAddress) : address(busAddress) {}

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
  /// A folder that exists on the device. The probe names one, because some devices lose the session
  /// when they are asked about a storage that does not exist.
  struct Place {
    std::uint32_t storage;
    std::uint32_t folder;
  };

  /// Runs `request`, which returns whether it got a usable result, and derives the status from the
  /// errors that libmtp noted and the probe. Repeats the request once if it was refused although
  /// the device is free now: the device may have been busy for a moment.
  template <class Request>
  t_status perform(const Place& place, Request request);
  /// STATUS_OK when the device is attached and free, STATUS_BUSY when it is busy.
  t_status probe(const Place& place);
  /// STATUS_NOT_OK_BAD_HANDLE when the device has left the bus.
  t_status statusOfFailedTransport();

  /// Opens `device`. Returns the reason for people when that fails.
  std::string openDevice() ORVEL_REQUIRES(libmtp::libraryMutex());
  void noteAbilities();
  bool list(const Place& place, std::vector<DeviceObject>& children);
  bool readTagsOnce(t_track_id id, DeviceTags& tags, bool& hasTitle);
  bool readPart(t_track_id id, std::uint64_t offset, std::uint32_t length, std::string& bytes);
  /// Fetches the track into `wholeFile` unless it is there already.
  t_status fetchWhole(const DeviceObject& track);

  const UsbAddress address;
  libmtp::OpenDevice device;
  std::bitset<LIBMTP_FILETYPE_UNKNOWN + 1> formats;  ///< the file types that the device supports
  bool readsParts = false;                           ///< the device supports partial reads
  /// The device has twice refused properties that it claims to have: further missing properties are
  /// no reason to repeat a request.
  bool refusesProperties = false;
  /// A storage of the current walk, for the probe; all storages before a walk.
  std::uint32_t knownStorage = std::numeric_limits<std::uint32_t>::max();
  struct {
    t_track_id id = 0;
    std::string bytes;
  } wholeFile;  ///< the last file fetched from a device without partial reads; id 0 for none
};

}  // namespace orvel
