#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "db/MetaDataInfo.h"
#include "db/MtpDirectory.h"
#include "db/Playlist.h"
#include "fuzz/InputBytes.h"
#include "fuzz/require.h"
#include "mtp/MtpConnection.h"
#include "phones/DeviceBus.h"
#include "phones/OwnedList.h"
#include "phones/scripted/InterceptedCalls.h"

namespace orvel {

namespace fuzz {
namespace {

/// The answers of a device, one after the other: everything it says comes from the input.
class Answers {
 public:
  Answers(const std::uint8_t* data, std::size_t size)
      : bytes(reinterpret_cast<const char*>(data), size),
        input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) {}
  Answers(const Answers&) = delete;
  Answers& operator=(const Answers&) = delete;

  template <class Take>
  auto take(Take take) {
    const MutexLock lock(mutex);
    return take(input);
  }

  /// Mostly STATUS_OK.
  t_status status() {
    constexpr std::array<t_status, 7> kFailures = {STATUS_NOT_OK,
                                                   STATUS_NOT_SUPPORTED,
                                                   STATUS_NOT_OK_BAD_HANDLE,
                                                   STATUS_NOT_OK_GENERIC_PLUGIN_ERROR,
                                                   STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED,
                                                   STATUS_BUSY,
                                                   -42};
    constexpr unsigned kFirstFailure = 240;
    return take([&](InputBytes& from) {
      const unsigned number = from.byte();
      return number < kFirstFailure ? STATUS_OK
                                    : kFailures[(number - kFirstFailure) % kFailures.size()];
    });
  }

 private:
  Mutex mutex;
  const std::string bytes;
  InputBytes input ORVEL_GUARDED_BY(mutex);
};

/// Ids are few, so that they are often the same.
t_track_id idFrom(InputBytes& input) {
  const unsigned number = input.byte();
  return number == 255 ? 0xFFFFFFFF : number % 32;
}

DeviceObject objectFrom(InputBytes& input) {
  DeviceObject object;
  object.id = idFrom(input);
  const unsigned kind = input.byte();
  object.isFolder = (kind & 1U) != 0;
  object.isAudio = (kind & 2U) != 0;
  object.storage = kind >> 6U;
  object.size = (kind & 4U) != 0 ? ~std::uint64_t{0} : input.byte();
  object.modified = (kind & 8U) != 0 ? static_cast<std::time_t>(input.word()) << 31U : 0;
  object.name = input.line();
  return object;
}

class FuzzedSession : public DeviceSession {
 public:
  explicit FuzzedSession(std::shared_ptr<Answers> given) : answers(std::move(given)) {}

  t_status open(DeviceDescription& description) override {
    description.serial = answers->take([](InputBytes& input) { return input.line(); });
    return answers->status();
  }
  t_status listStorages(std::vector<DeviceStorage>& storages) override {
    return list(storages, [](InputBytes& input) {
      return DeviceStorage{input.below(4), input.line(), 0, 0};
    });
  }
  t_status listFolder(std::uint32_t /*storage*/, t_track_id /*folder*/,
                      std::vector<DeviceObject>& children) override {
    return list(children, objectFrom);
  }
  t_status readTags(const DeviceObject& /*track*/, DeviceTags& tags) override {
    tags = answers->take([](InputBytes& input) {
      const unsigned number = input.word() & 0xFFFFU;
      std::string title = input.line();
      std::string artist = input.line();
      std::string album = input.line();
      std::string genre = input.line();
      return DeviceTags{std::move(title), std::move(artist), std::move(album),
                        std::move(genre), input.line(),      static_cast<std::uint16_t>(number)};
    });
    return answers->status();
  }
  t_status readBytes(const DeviceObject& /*track*/, std::uint64_t /*offset*/, std::uint32_t length,
                     std::string& bytes) override {
    bytes = answers->take([](InputBytes& input) { return input.line(); }).substr(0, length);
    return answers->status();
  }
  t_status listPlaylists(std::vector<DevicePlaylist>& playlists) override {
    return list(playlists, [](InputBytes& input) {
      const t_track_id id = idFrom(input);
      return DevicePlaylist{id, input.line()};
    });
  }
  t_status playlistMembers(t_track_id /*playlist*/, std::vector<t_track_id>& members) override {
    return list(members, idFrom);
  }

 private:
  template <class T, class From>
  t_status list(std::vector<T>& items, From from) {
    answers->take([&](InputBytes& input) {
      for (unsigned left = input.below(16); left > 0 && !input.empty(); --left) {
        items.push_back(from(input));
      }
    });
    const t_status status = answers->status();
    if (status != STATUS_OK) items.clear();
    return status;
  }

  std::shared_ptr<Answers> answers;
};

class FuzzedCalls : public scripted::InterceptedCalls {
 public:
  FuzzedCalls(Device& device, std::shared_ptr<Answers> given)
      : InterceptedCalls(device), answers(std::move(given)) {}

 private:
  t_status enterCall(const char* /*name*/) override { return answers->status(); }
  std::uint32_t countItems(const t_mtp_container& /*of*/, std::uint32_t present) override {
    return answers->take([&](InputBytes& input) {
      const unsigned number = input.byte();
      return number < 128 ? present : number == 255 ? 0xFFFFFFFF : number - 128;
    });
  }
  std::uint32_t pageItems(const t_mtp_container& /*of*/, std::uint32_t present) override {
    return answers->take([&](InputBytes& input) {
      const unsigned number = input.byte();
      return number < 128 ? present : std::min(present, number - 128);
    });
  }

  std::shared_ptr<Answers> answers;
};

/// The one device on the bus.
struct Bus {
  std::shared_ptr<Answers> answers;  ///< of the device; null while there is none
  unsigned address = 0;
};

Bus& bus() {
  static Bus shared;
  return shared;
}

std::string busPath() {
  return std::to_string(bus().address);
}

void requireText(const std::string& text) {
  require(isUtf8(text) && text.find('\0') == std::string::npos, "a text of a device is UTF-8");
}

void readRecords(MtpConnection& connection, const OwnedElements& tracks,
                 const OwnedElements& playlists) {
  for (const t_playlist_item& track : tracks) {
    connection.getTrackFilePath(track.id);
    connection.getTrackDateModifiedEpoch(track.id);
    const auto song = connection.generateTrack("", "mtp-folder://x", track.id, 0);
    if (song == nullptr) continue;
    for (const std::string& text :
         {song->title, song->artist, song->album, song->genre, song->composer}) {
      requireText(text);
    }
    song->setAsianFields();
  }
  for (const t_playlist_item& playlist : playlists) {
    const auto found = connection.generatePlaylist("x", "mtp-folder://x", playlist.id);
    if (found != nullptr) requireText(found->path);
  }
}

/// Asks a device as the stages of the MTP pipeline do.
void index(t_handle handle) {
  MtpDevice::instance().setDeviceConnected(handle);
  const std::string deviceId = "x";
  MtpConnection connection(handle, deviceId);
  connection.crawlMtpDevice();
  OwnedElements tracks;
  OwnedElements playlists;
  connection.loadDeviceData(tracks.out(), playlists.out());
  readRecords(connection, tracks, playlists);
  std::vector<std::string> folders;
  connection.MTPCreateDirCache(folders, tracks.get());
  for (const std::string& folder : folders) connection.generateDirectory(folder, "x", "root");
}

}  // namespace
}  // namespace fuzz

namespace deviceBus {

std::vector<BusDevice> scan() {
  if (fuzz::bus().answers == nullptr) return {};
  return {{fuzz::busPath(), 0, 0}};
}

std::unique_ptr<DeviceSession> connect(const BusDevice& /*device*/) {
  return std::make_unique<fuzz::FuzzedSession>(fuzz::bus().answers);
}

std::unique_ptr<DeviceCalls> callsOf(Device& device) {
  return std::make_unique<fuzz::FuzzedCalls>(device, fuzz::bus().answers);
}

bool isPresent(const std::string& path) {
  return fuzz::bus().answers != nullptr && path == fuzz::busPath();
}

}  // namespace deviceBus

}  // namespace orvel

/// Indexes a device whose answers are the input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orvel;
  fuzz::Bus& bus = fuzz::bus();
  ++bus.address;
  bus.answers = std::make_shared<fuzz::Answers>(data, size);
  for (const AttachedDevice& device : attachedDevices()) fuzz::index(device.handle);
  bus.answers.reset();
  attachedDevices();
  return 0;
}
