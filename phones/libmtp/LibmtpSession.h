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

/// The connection with a real device. libmtp tells little about what fails: a refusal, a busy
/// device and one object that was not read all look alike, and some failures leave no note at all.
/// So whatever is in doubt is settled by one more operation that expects no data, the probe, whose
/// refusals libmtp reports in full.
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
  /// A place on the device that surely exists: what the probe asks about.
  struct Place {
    std::uint32_t storage;
    std::uint32_t folder;
  };

  template <class Request>
  t_status carryOut(const Place& place, Request request);
  t_status probe(const Place& place);
  t_status failureOfTransport();

  void noteAbilities();
  bool list(const Place& place, std::vector<DeviceObject>& children);
  bool readTagsOnce(t_track_id id, DeviceTags& tags, bool& hasTitle);
  bool readPart(t_track_id id, std::uint64_t offset, std::uint32_t length, std::string& bytes);
  t_status fetchWhole(const DeviceObject& track);

  const UsbAddress address;
  libmtp::OpenDevice device;
  std::bitset<LIBMTP_FILETYPE_UNKNOWN + 1> formats;  ///< that the device deals with
  bool readsParts = false;                           ///< of files
  /// The device was seen to refuse properties that it says it has, and to refuse them again: that
  /// they are missing means nothing then.
  bool refusesProperties = false;
  /// Of this walk; all of them before it begins.
  std::uint32_t knownStorage = std::numeric_limits<std::uint32_t>::max();
  struct {
    t_track_id id = 0;
    std::string bytes;
  } wholeFile;  ///< the last one that was fetched from a device that reads no parts
};

}  // namespace orvel
