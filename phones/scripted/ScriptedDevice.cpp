#include "phones/scripted/ScriptedDevice.h"

#include <algorithm>
#include <utility>

#include "phones/scripted/ScriptedPath.h"

namespace orvel::scripted {

namespace {

constexpr std::uint32_t kFirstStorage = 0x00010001;
constexpr std::uint64_t kCapacity = std::uint64_t{64} << 30U;

}  // namespace

DeviceStorage& ScriptedDevice::addStorage(const std::string& description) {
  const auto id = static_cast<std::uint32_t>(kFirstStorage + storages.size());
  return storages.emplace_back(DeviceStorage{id, description, kCapacity, kCapacity / 2});
}

ScriptedObject& ScriptedDevice::addPlaylist(const std::string& path,
                                            std::vector<std::string> members) {
  ScriptedObject& playlist = add(ScriptedObject::Kind::Playlist, path);
  playlist.members = std::move(members);
  return playlist;
}

ScriptedObject& ScriptedDevice::add(ScriptedObject::Kind kind, const std::string& path) {
  const std::string parent = ScriptedPath(path).parent;
  if (storages.empty()) addStorage("Internal storage");
  addFoldersAbove(parent);
  ScriptedObject object;
  object.kind = kind;
  object.storage = storages.back().id;
  object.path = path;
  objects.push_back(std::move(object));
  return objects.back();
}

void ScriptedDevice::addFoldersAbove(const std::string& path) {
  if (!path.empty() && !holds(storages.back().id, path)) addFolder(path);
}

bool ScriptedDevice::holds(std::uint32_t storage, const std::string& path) const {
  // An object below has created its folders already; usually the last one.
  const std::string below = path + "/";
  return std::any_of(objects.rbegin(), objects.rend(), [&](const ScriptedObject& object) {
    return object.storage == storage && (object.path == path || object.path.starts_with(below));
  });
}

ScriptedObject* ScriptedDevice::find(const std::string& path) {
  const auto found =
      std::find_if(objects.begin(), objects.end(),
                   [&](const ScriptedObject& object) { return object.path == path; });
  return found == objects.end() ? nullptr : &*found;
}

}  // namespace orvel::scripted
