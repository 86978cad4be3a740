#include "tests/vm/gadget/DescribedPlayer.h"

#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "phones/scripted/DeviceScript.h"

namespace orvel::test {
namespace {

using scripted::ScriptedDevice;
using scripted::ScriptedObject;

/// In place of members that are not there.
constexpr std::uint32_t kNobody = 0x0FFFFFFF;

FileContent contentOf(const ScriptedObject& object) {
  if (object.file.empty()) return fileContent(object.content);
  std::ifstream in(object.file, std::ios::binary);
  if (!in) throw std::runtime_error("Cannot read " + object.file);
  return fileContent({std::istreambuf_iterator<char>(in), {}});
}

TrackTags tagsOf(const DeviceTags& tags) {
  return {tags.title, tags.artist, tags.album, tags.genre, tags.composer, tags.trackNumber};
}

std::string dateText(std::time_t time) {
  std::tm local{};
  localtime_r(&time, &local);
  char text[sizeof "YYYYMMDDThhmmss"];
  return {text, std::strftime(text, sizeof text, "%Y%m%dT%H%M%S", &local)};
}

/// Puts the objects of one described device onto media.
class Filling {
 public:
  explicit Filling(const ScriptedDevice& device) {
    for (const DeviceStorage& storage : device.storages)
      ids[storage.id] = media.addStorage(storage.description);
    for (const ScriptedObject& object : device.objects) add(object);
    for (const ScriptedObject& object : device.objects) {
      if (object.kind == ScriptedObject::Kind::Playlist) addPlaylist(object);
    }
  }

  Media media;

 private:
  void add(const ScriptedObject& object) {
    const std::uint32_t storage = ids.at(object.storage);
    std::uint32_t handle = 0;
    switch (object.kind) {
      case ScriptedObject::Kind::Playlist:
        return;
      case ScriptedObject::Kind::Folder:
        if (!object.target.empty()) throw std::runtime_error(object.path + ": a folder in itself");
        media.addFolder(storage, object.path);
        return;
      case ScriptedObject::Kind::Track:
        handle = object.tags
                     ? media.addTrack(storage, object.path, tagsOf(*object.tags), contentOf(object))
                     : media.addFile(storage, object.path, contentOf(object));
        break;
      case ScriptedObject::Kind::File:
        handle = media.addFile(storage, object.path);
        break;
    }
    MediaObject& added = *media.find(handle);
    added.size = std::max(added.size, object.size);
    added.modified = dateText(object.modified);
  }

  void addPlaylist(const ScriptedObject& playlist) {
    const std::uint32_t storage = ids.at(playlist.storage);
    std::vector<std::uint32_t> members;
    for (const std::string& path : playlist.members) {
      const std::uint32_t track = media.handleOf(storage, path);
      members.push_back(track == 0 ? kNobody : track);
    }
    media.addPlaylist(storage, playlist.path, playlist.path.substr(playlist.path.rfind('/') + 1),
                      members);
  }

  std::map<std::uint32_t, std::uint32_t> ids;
};

}  // namespace

Player describedPlayer(const std::string& script) {
  const std::vector<ScriptedDevice> devices = scripted::readDeviceScript(script);
  if (devices.empty()) throw std::runtime_error(script + " describes no device");
  const ScriptedDevice& device = devices.front();
  if (!device.faults.empty()) throw std::runtime_error(script + " describes faults");
  Player player;
  player.identity.maker = device.maker;
  player.identity.model = device.model;
  player.identity.serial = device.serial;
  player.media = Filling(device).media;
  return player;
}

}  // namespace orvel::test
