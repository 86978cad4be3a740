#include "phones/libmtp/LibmtpSession.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <span>
#include <thread>

#include "base/NoDestructor.h"
#include "phones/libmtp/Chain.h"
#include "phones/libmtp/fromLibmtp.h"

namespace orvel {

namespace {

/// The values that stand for all storages, and for the root in place of a folder.
constexpr std::uint32_t kAllStorages = 0xFFFFFFFF;
constexpr std::uint32_t kRoot = LIBMTP_FILES_AND_FOLDERS_ROOT;

constexpr std::uint16_t kGetNumObjects = 0x1006;
constexpr std::uint16_t kDeviceBusy = 0x2019;

/// The largest file that is fetched whole for its tags, from a device without partial reads.
constexpr std::uint64_t kMaxWholeFile = 32U << 20U;

/// After a failed transfer the bus is checked this often, at this interval: the system may remove
/// an unplugged device from it later than the transfer fails.
constexpr int kAbsenceChecks = 25;
constexpr std::chrono::milliseconds kAbsenceCheckPause{20};

constexpr char kDoesNotAnswer[] =
    "The device does not answer. Unlock it, choose file transfer (MTP) in its USB settings, and "
    "attach it again.";

/// Bus paths of the devices that libmtp failed to open. libmtp keeps some of these claimed, so that
/// another attempt reports them as used by another program.
std::set<std::string>& failedOpens() ORVEL_REQUIRES(libmtp::libraryMutex()) {
  static NoDestructor<std::set<std::string>> paths;
  return *paths;
}

bool hasNoErrors(LIBMTP_mtpdevice_t* device) {
  return LIBMTP_Get_Errorstack(device) == nullptr;
}

/// Appends a piece of a file to the string `into`. Cancels the transfer when the device sends more
/// than the string's capacity.
std::uint16_t appendPiece(void* /*device*/, void* into, std::uint32_t count, unsigned char* bytes,
                          std::uint32_t* taken) {
  auto& whole = *static_cast<std::string*>(into);
  if (count > whole.capacity() - whole.size()) return LIBMTP_HANDLER_RETURN_CANCEL;
  whole.append(reinterpret_cast<const char*>(bytes), count);
  *taken = count;
  return LIBMTP_HANDLER_RETURN_OK;
}

}  // namespace

t_status LibmtpSession::open(DeviceDescription& description) {
  const MutexLock lock(libmtp::libraryMutex());
  description.error = openDevice();
  if (device == nullptr) {
    return UsbBus().has(address) ? STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED : STATUS_NOT_OK_BAD_HANDLE;
  }
  description.maker = libmtp::takeText(LIBMTP_Get_Manufacturername(device.get()));
  description.model = libmtp::takeText(LIBMTP_Get_Modelname(device.get()));
  description.serial = libmtp::takeText(LIBMTP_Get_Serialnumber(device.get()));
  noteAbilities();
  return STATUS_OK;
}

std::string LibmtpSession::openDevice() {
  std::string obstacle = UsbBus().obstacle(address);
  if (obstacle.empty()) device = libmtp::openDevice(address);
  if (device != nullptr) {
    failedOpens().erase(address.path());
    return {};
  }
  if (obstacle.empty()) failedOpens().insert(address.path());
  return failedOpens().count(address.path()) != 0 ? kDoesNotAnswer : obstacle;
}

void LibmtpSession::noteAbilities() {
  std::uint16_t* types = nullptr;
  std::uint16_t count = 0;
  LIBMTP_Get_Supported_Filetypes(device.get(), &types, &count);
  const libmtp::Allocated<std::uint16_t> owner(types);
  for (const std::uint16_t type : std::span(types, count)) {
    if (type < formats.size()) formats.set(type);
  }
  readsParts = LIBMTP_Check_Capability(device.get(), LIBMTP_DEVICECAP_GetPartialObject) != 0;
}

t_status LibmtpSession::probe(const Place& place) {
  takeErrors(device.get());
  if (LIBMTP_Custom_Operation(device.get(), kGetNumObjects, 3, place.storage, std::uint32_t{0},
                              place.folder) == 0) {
    return STATUS_OK;
  }
  const NotedErrors errors = takeErrors(device.get());
  if (errors.transportFailed) return statusOfFailedTransport();
  // Any other refusal, such as that of a device without the operation, comes from a free device.
  return errors.code == kDeviceBusy ? STATUS_BUSY : STATUS_OK;
}

t_status LibmtpSession::statusOfFailedTransport() {
  for (int check = 0; check < kAbsenceChecks; ++check) {
    if (!UsbBus().has(address)) return STATUS_NOT_OK_BAD_HANDLE;
    std::this_thread::sleep_for(kAbsenceCheckPause);
  }
  return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
}

template <class Request>
t_status LibmtpSession::perform(const Place& place, Request request) {
  bool isUsable = false;
  for (int attempt = 0; attempt < 2; ++attempt) {
    takeErrors(device.get());
    isUsable = request();
    const NotedErrors errors = takeErrors(device.get());
    if (isUsable && !errors.any) return STATUS_OK;
    const t_status status = errors.transportFailed ? statusOfFailedTransport() : probe(place);
    if (status != STATUS_OK) return status;
    if (isUsable && refusesProperties) return STATUS_OK;
  }
  if (isUsable) refusesProperties = true;
  return isUsable ? STATUS_OK : STATUS_NOT_OK;
}

t_status LibmtpSession::listStorages(std::vector<DeviceStorage>& storages) {
  storages.clear();
  wholeFile = {};
  knownStorage = kAllStorages;
  bool isRefused = false;
  const t_status status = perform({kAllStorages, kRoot}, [&] {
    if (LIBMTP_Get_Storage(device.get(), LIBMTP_STORAGE_SORTBY_NOTSORTED) >= 0) return true;
    isRefused = !hasNoErrors(device.get());
    return false;
  });
  // A free device that shows no storage, without an error, is locked.
  if (status == STATUS_NOT_OK && !isRefused) return STATUS_OK;
  if (status != STATUS_OK) return status;
  for (const auto* storage = device->storage; storage != nullptr; storage = storage->next) {
    storages.push_back(libmtp::storageOf(*storage));
  }
  if (!storages.empty()) knownStorage = storages.front().id;
  return STATUS_OK;
}

t_status LibmtpSession::listFolder(std::uint32_t storage, t_track_id folder,
                                   std::vector<DeviceObject>& children) {
  const Place place{storage, folder == 0 ? kRoot : folder};
  t_status status = perform(place, [&] { return list(place, children); });
  // libmtp silently leaves out all remaining children when the device becomes busy or is unplugged.
  if (status == STATUS_OK) status = probe(place);
  if (status != STATUS_OK) children.clear();
  return status;
}

bool LibmtpSession::list(const Place& place, std::vector<DeviceObject>& children) {
  const libmtp::Files files(
      LIBMTP_Get_Files_And_Folders(device.get(), place.storage, place.folder));
  children.clear();
  for (const LIBMTP_file_t* file = files.head(); file != nullptr; file = file->next) {
    // Skips an object whose id means the root.
    if (file->item_id != kRoot) children.push_back(libmtp::objectOf(*file, place.storage));
  }
  return files.head() != nullptr || hasNoErrors(device.get());
}

t_status LibmtpSession::readTags(const DeviceObject& track, DeviceTags& tags) {
  tags = {};
  const auto type = static_cast<LIBMTP_filetype_t>(track.format);
  // A device without properties for a format answers with an error that looks like "busy".
  if (!LIBMTP_FILETYPE_IS_TRACK(type) || !formats.test(type)) return STATUS_NOT_SUPPORTED;
  bool hasTitle = false;
  const t_status status =
      perform({track.storage, kRoot}, [&] { return readTagsOnce(track.id, tags, hasTitle); });
  if (status == STATUS_OK && hasTitle) return STATUS_OK;
  tags = {};
  return status == STATUS_OK ? STATUS_NOT_SUPPORTED : status;
}

bool LibmtpSession::readTagsOnce(t_track_id id, DeviceTags& tags, bool& hasTitle) {
  const libmtp::Tracks record(LIBMTP_Get_Trackmetadata(device.get(), id));
  const LIBMTP_track_t* const track = record.head();
  if (track == nullptr) return false;
  hasTitle = track->title != nullptr;
  tags = libmtp::tagsOf(*track);
  return hasTitle || hasNoErrors(device.get());
}

t_status LibmtpSession::readBytes(const DeviceObject& track, std::uint64_t offset,
                                  std::uint32_t length, std::string& bytes) {
  bytes.clear();
  t_status status = STATUS_OK;
  if (readsParts) {
    status =
        perform({track.storage, kRoot}, [&] { return readPart(track.id, offset, length, bytes); });
  } else {
    status = fetchWhole(track);
    if (status == STATUS_OK && offset < wholeFile.bytes.size()) {
      bytes = wholeFile.bytes.substr(offset, length);
    }
  }
  if (status != STATUS_OK) bytes.clear();
  return status;
}

bool LibmtpSession::readPart(t_track_id id, std::uint64_t offset, std::uint32_t length,
                             std::string& bytes) {
  unsigned char* data = nullptr;
  unsigned count = 0;
  const int result = LIBMTP_GetPartialObject(device.get(), id, offset, length, &data, &count);
  const libmtp::Allocated<unsigned char> owner(data);
  if (result != 0) return false;
  if (data != nullptr) {
    bytes.assign(reinterpret_cast<const char*>(data), std::min<std::size_t>(count, length));
  }
  // If the device refuses the size of the file, libmtp reports success without bytes.
  return !bytes.empty() || hasNoErrors(device.get());
}

t_status LibmtpSession::fetchWhole(const DeviceObject& track) {
  if (track.size > kMaxWholeFile) return STATUS_NOT_SUPPORTED;
  if (wholeFile.id == track.id) return STATUS_OK;
  wholeFile = {};
  const t_status status = perform({track.storage, kRoot}, [&] {
    std::string& bytes = wholeFile.bytes;
    bytes.clear();
    bytes.reserve(track.size);
    return LIBMTP_Get_File_To_Handler(device.get(), track.id, appendPiece, &bytes, nullptr,
                                      nullptr) == 0;
  });
  if (status == STATUS_OK) wholeFile.id = track.id;
  return status;
}

t_status LibmtpSession::listPlaylists(std::vector<DevicePlaylist>& playlists) {
  const t_status status = perform({knownStorage, kRoot}, [&] {
    const libmtp::Playlists found(LIBMTP_Get_Playlist_List(device.get()));
    playlists.clear();
    for (const auto* playlist = found.head(); playlist != nullptr; playlist = playlist->next) {
      playlists.push_back({playlist->playlist_id, libmtp::textOf(playlist->name)});
    }
    return found.head() != nullptr || hasNoErrors(device.get());
  });
  if (status != STATUS_OK) playlists.clear();
  return status;
}

t_status LibmtpSession::playlistMembers(t_track_id playlist, std::vector<t_track_id>& members) {
  members.clear();
  const t_status status = perform({knownStorage, kRoot}, [&] {
    const libmtp::Playlists found(LIBMTP_Get_Playlist(device.get(), playlist));
    if (found.head() == nullptr) return false;
    const std::span tracks(found.head()->tracks, found.head()->no_tracks);
    members.assign(tracks.begin(), tracks.end());
    return !members.empty() || hasNoErrors(device.get());
  });
  if (status != STATUS_OK) members.clear();
  return status;
}

}  // namespace orvel
