#include "phones/libmtp/LibmtpSession.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <span>
#include <thread>
#include <utility>

#include "phones/libmtp/PrintedLines.h"
#include "tags/MediaKind.h"

namespace orvel {

namespace {

/// In place of a storage: all of them. In place of a folder: the root.
constexpr std::uint32_t kAllStorages = 0xFFFFFFFF;
constexpr std::uint32_t kRoot = LIBMTP_FILES_AND_FOLDERS_ROOT;

constexpr std::uint16_t kGetNumObjects = 0x1006;
constexpr std::uint16_t kDeviceBusy = 0x2019;

/// What is fetched at most to read the tags of one file from a device that reads no parts of files.
constexpr std::uint64_t kMaxWholeFile = 32U << 20U;

/// How long the system may take to note that a device is gone which the last transfer did not
/// reach.
constexpr int kAbsenceChecks = 25;
constexpr std::chrono::milliseconds kAbsenceCheckPause{20};

/// Lists of libmtp, which are chained and freed one by one.
template <class T, void (*destroy)(T*)>
class Chain {
 public:
  explicit Chain(T* head) : first(head) {}
  ~Chain() {
    while (first != nullptr) destroy(std::exchange(first, first->next));
  }
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  [[nodiscard]] const T* head() const { return first; }

 private:
  T* first;
};
using Files = Chain<LIBMTP_file_t, LIBMTP_destroy_file_t>;
using Tracks = Chain<LIBMTP_track_t, LIBMTP_destroy_track_t>;
using Playlists = Chain<LIBMTP_playlist_t, LIBMTP_destroy_playlist_t>;

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

std::string takeText(char* text) {
  const libmtp::Allocated<char> owner(text);
  return textOf(text);
}

bool isSong(LIBMTP_filetype_t type, const char* name) {
  if (LIBMTP_FILETYPE_IS_AUDIO(type)) return true;
  // Many devices call every file an unknown one.
  return (type == LIBMTP_FILETYPE_UNKNOWN || LIBMTP_FILETYPE_IS_TRACK(type)) && name != nullptr &&
         mediaKindOf(name) == MediaKind::Song;
}

DeviceObject objectOf(const LIBMTP_file_t& file, std::uint32_t storage) {
  DeviceObject object;
  object.id = file.item_id;
  object.storage = storage;
  object.name = textOf(file.filename);
  object.isFolder = file.filetype == LIBMTP_FILETYPE_FOLDER;
  object.isAudio = isSong(file.filetype, file.filename);
  object.format = file.filetype;
  object.size = file.filesize;
  object.modified = file.modificationdate;
  return object;
}

DeviceStorage storageOf(const LIBMTP_devicestorage_t& storage) {
  return {storage.id, textOf(storage.StorageDescription), storage.MaxCapacity,
          storage.FreeSpaceInBytes};
}

constexpr char kDoesNotAnswer[] =
    "The device does not answer. Unlock it, choose file transfer (MTP) in its USB settings, and "
    "attach it again.";

/// The devices that libmtp could not open. It goes on holding some of them, which then look as if
/// another program used them. Guarded by the library's mutex.
std::set<std::string>& unopened() {
  static auto* const paths = new std::set<std::string>;
  return *paths;
}

bool hasNoErrors(LIBMTP_mtpdevice_t* device) {
  return LIBMTP_Get_Errorstack(device) == nullptr;
}

/// Receives a file that is fetched whole; more than what its string has room for is refused.
std::uint16_t receive(void* /*device*/, void* into, std::uint32_t count, unsigned char* bytes,
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
  description.error = UsbBus().obstacle(address);
  if (description.error.empty()) {
    device = libmtp::openDevice(address);
    if (device == nullptr) unopened().insert(address.path());
  }
  if (device == nullptr) {
    if (unopened().count(address.path()) != 0) description.error = kDoesNotAnswer;
    return UsbBus().has(address) ? STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED : STATUS_NOT_OK_BAD_HANDLE;
  }
  unopened().erase(address.path());
  description.maker = takeText(LIBMTP_Get_Manufacturername(device.get()));
  description.model = takeText(LIBMTP_Get_Modelname(device.get()));
  description.serial = takeText(LIBMTP_Get_Serialnumber(device.get()));
  noteAbilities();
  return STATUS_OK;
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

/// Asks the device something that it answers without data: whether it is there and free.
t_status LibmtpSession::probe(const Place& place) {
  takeErrors(device.get());
  if (LIBMTP_Custom_Operation(device.get(), kGetNumObjects, 3, place.storage, std::uint32_t{0},
                              place.folder) == 0) {
    return STATUS_OK;
  }
  const NotedErrors errors = takeErrors(device.get());
  if (errors.transportFailed) return failureOfTransport();
  // Devices that do not know the operation refuse it, and are free all the same.
  return errors.code == kDeviceBusy ? STATUS_BUSY : STATUS_OK;
}

t_status LibmtpSession::failureOfTransport() {
  for (int check = 0; check < kAbsenceChecks; ++check) {
    if (!UsbBus().has(address)) return STATUS_NOT_OK_BAD_HANDLE;
    std::this_thread::sleep_for(kAbsenceCheckPause);
  }
  return STATUS_NOT_OK_GENERIC_PLUGIN_ERROR;
}

/// Carries out a request that returns whether it got anything that can be used, and judges what
/// libmtp noted meanwhile. What was refused by a device that is free now is asked for once more,
/// since it may have been busy for a moment.
template <class Request>
t_status LibmtpSession::carryOut(const Place& place, Request request) {
  bool isUsable = false;
  for (int attempt = 0; attempt < 2; ++attempt) {
    takeErrors(device.get());
    isUsable = request();
    const NotedErrors errors = takeErrors(device.get());
    if (isUsable && !errors.any) return STATUS_OK;
    const t_status status = errors.transportFailed ? failureOfTransport() : probe(place);
    if (status != STATUS_OK) return status;
    if (isUsable && refusesProperties) return STATUS_OK;
  }
  if (isUsable) refusesProperties = true;
  return isUsable ? STATUS_OK : STATUS_NOT_OK;
}

t_status LibmtpSession::listStorages(std::vector<DeviceStorage>& storages) {
  const PrintedLines lines;
  storages.clear();
  wholeFile = {};
  knownStorage = kAllStorages;
  const t_status status = carryOut({kAllStorages, kRoot}, [&] {
    return LIBMTP_Get_Storage(device.get(), LIBMTP_STORAGE_SORTBY_NOTSORTED) >= 0;
  });
  // A device that is free and still shows none is locked.
  if (status == STATUS_NOT_OK) return STATUS_OK;
  if (status != STATUS_OK) return status;
  for (const auto* storage = device->storage; storage != nullptr; storage = storage->next) {
    storages.push_back(storageOf(*storage));
  }
  if (!storages.empty()) knownStorage = storages.front().id;
  return STATUS_OK;
}

t_status LibmtpSession::listFolder(std::uint32_t storage, t_track_id folder,
                                   std::vector<DeviceObject>& children) {
  const PrintedLines lines;
  const Place place{storage, folder == 0 ? kRoot : folder};
  const auto request = [&] { return list(place, children); };
  t_status status = carryOut(place, request);
  // A child that the device does not describe is left out without any note, and so are all that
  // remain when the device is busy or unplugged meanwhile.
  if (status == STATUS_OK) status = probe(place);
  if (status == STATUS_OK && children.empty()) status = carryOut(place, request);
  if (status != STATUS_OK) children.clear();
  return status;
}

bool LibmtpSession::list(const Place& place, std::vector<DeviceObject>& children) {
  const Files files(LIBMTP_Get_Files_And_Folders(device.get(), place.storage, place.folder));
  children.clear();
  for (const LIBMTP_file_t* file = files.head(); file != nullptr; file = file->next) {
    // A folder with this id could not be told from the root.
    if (file->item_id != kRoot) children.push_back(objectOf(*file, place.storage));
  }
  return files.head() != nullptr || hasNoErrors(device.get());
}

t_status LibmtpSession::readTags(const DeviceObject& track, DeviceTags& tags) {
  const PrintedLines lines;
  tags = {};
  const auto type = static_cast<LIBMTP_filetype_t>(track.format);
  // Properties are asked for only where they can exist: to a device that has none for a format the
  // question is an error.
  if (!LIBMTP_FILETYPE_IS_TRACK(type) || !formats.test(type)) return STATUS_NOT_SUPPORTED;
  bool hasTitle = false;
  const t_status status =
      carryOut({track.storage, kRoot}, [&] { return readTagsOnce(track.id, tags, hasTitle); });
  if (status == STATUS_OK && hasTitle) return STATUS_OK;
  tags = {};
  return status == STATUS_OK ? STATUS_NOT_SUPPORTED : status;
}

bool LibmtpSession::readTagsOnce(t_track_id id, DeviceTags& tags, bool& hasTitle) {
  const Tracks record(LIBMTP_Get_Trackmetadata(device.get(), id));
  const LIBMTP_track_t* const track = record.head();
  if (track == nullptr) return false;
  hasTitle = track->title != nullptr;
  tags = {textOf(track->title), textOf(track->artist),   textOf(track->album),
          textOf(track->genre), textOf(track->composer), track->tracknumber};
  return hasTitle || hasNoErrors(device.get());
}

t_status LibmtpSession::readBytes(const DeviceObject& track, std::uint64_t offset,
                                  std::uint32_t length, std::string& bytes) {
  const PrintedLines lines;
  bytes.clear();
  t_status status = STATUS_OK;
  if (readsParts) {
    status =
        carryOut({track.storage, kRoot}, [&] { return readPart(track.id, offset, length, bytes); });
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
  // When the size of the file was refused, it seems to end here.
  return !bytes.empty() || hasNoErrors(device.get());
}

/// Sees to it that `wholeFile` is the track.
t_status LibmtpSession::fetchWhole(const DeviceObject& track) {
  if (track.size > kMaxWholeFile) return STATUS_NOT_SUPPORTED;
  if (wholeFile.id == track.id) return STATUS_OK;
  wholeFile = {};
  const t_status status = carryOut({track.storage, kRoot}, [&] {
    std::string& bytes = wholeFile.bytes;
    bytes.clear();
    bytes.reserve(track.size);
    return LIBMTP_Get_File_To_Handler(device.get(), track.id, receive, &bytes, nullptr, nullptr) ==
           0;
  });
  if (status == STATUS_OK) wholeFile.id = track.id;
  return status;
}

t_status LibmtpSession::listPlaylists(std::vector<DevicePlaylist>& playlists) {
  const PrintedLines lines;
  const t_status status = carryOut({knownStorage, kRoot}, [&] {
    const Playlists found(LIBMTP_Get_Playlist_List(device.get()));
    playlists.clear();
    for (const auto* playlist = found.head(); playlist != nullptr; playlist = playlist->next) {
      playlists.push_back({playlist->playlist_id, textOf(playlist->name)});
    }
    return found.head() != nullptr || hasNoErrors(device.get());
  });
  if (status != STATUS_OK) playlists.clear();
  return status;
}

t_status LibmtpSession::playlistMembers(t_track_id playlist, std::vector<t_track_id>& members) {
  const PrintedLines lines;
  members.clear();
  const t_status status = carryOut({knownStorage, kRoot}, [&] {
    const Playlists found(LIBMTP_Get_Playlist(device.get(), playlist));
    if (found.head() == nullptr) return false;
    const std::span tracks(found.head()->tracks, found.head()->no_tracks);
    members.assign(tracks.begin(), tracks.end());
    return !members.empty() || hasNoErrors(device.get());
  });
  if (status != STATUS_OK) members.clear();
  return status;
}

}  // namespace orvel
