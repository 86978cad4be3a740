#include "phones/scripted/MediaIndex.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "phones/scripted/ScriptedPath.h"

namespace orvel::scripted {

namespace {

using Kind = ScriptedObject::Kind;

constexpr char kPlaylistSuffix[] = ".pla";

std::uint64_t sizeOf(const ScriptedObject& object) {
  std::error_code error;
  const std::uint64_t inFile =
      object.file.empty() ? 0 : std::filesystem::file_size(object.file, error);
  return std::max<std::uint64_t>({object.size, object.content.size(), error ? 0 : inFile});
}

DeviceObject listed(const ScriptedObject& object, t_track_id id) {
  DeviceObject child;
  child.id = id;
  child.storage = object.storage;
  child.name = ScriptedPath(object.path).name;
  if (object.kind == Kind::Playlist) child.name += kPlaylistSuffix;
  child.isFolder = object.kind == Kind::Folder;
  child.isAudio = object.kind == Kind::Track;
  child.size = sizeOf(object);
  child.modified = object.modified;
  return child;
}

template <class Map, class Key>
const typename Map::mapped_type* valueAt(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

}  // namespace

t_track_id ObjectIds::of(std::uint32_t storage, const std::string& path, unsigned occurrence) {
  const auto [entry, isNew] = ids.try_emplace({storage, path, occurrence}, last + 1);
  if (isNew) ++last;
  return entry->second;
}

MediaIndex::MediaIndex(ScriptedDevice description, ObjectIds& ids)
    : described(std::move(description)) {
  for (const DeviceStorage& storage : described.storages) folders[{storage.id, 0}];
  std::map<std::pair<std::uint32_t, std::string>, unsigned> occurrences;
  for (const ScriptedObject& object : described.objects) {
    const std::uint32_t storage = object.storage;
    const bool isAlias = !object.target.empty();
    const t_track_id id = isAlias
                              ? ids.of(storage, object.target)
                              : ids.of(storage, object.path, occurrences[{storage, object.path}]++);
    const std::string parent = ScriptedPath(object.path).parent;
    folders[{storage, parent.empty() ? 0 : ids.of(storage, parent)}].push_back(listed(object, id));
    if (object.kind == Kind::Folder) folders[{storage, id}];
    if (!isAlias) objects.insert_or_assign(id, &object);
  }
  for (const auto& [id, object] : objects) {
    if (object->kind != Kind::Playlist) continue;
    std::vector<t_track_id>& members = playlists[id];
    for (const std::string& path : object->members) {
      members.push_back(ids.of(storageOf(path, object->storage), path));
    }
  }
}

/// The storage that holds `path`: the preferred one, else the first that does.
std::uint32_t MediaIndex::storageOf(const std::string& path, std::uint32_t preferred) const {
  std::uint32_t storage = 0;
  for (const ScriptedObject& object : described.objects) {
    if (object.path != path) continue;
    if (object.storage == preferred) return preferred;
    if (storage == 0) storage = object.storage;
  }
  return storage == 0 ? preferred : storage;
}

const std::vector<DeviceObject>* MediaIndex::children(std::uint32_t storage,
                                                      t_track_id folder) const {
  return valueAt(folders, std::pair(storage, folder));
}

const ScriptedObject* MediaIndex::object(t_track_id id) const {
  const auto* const found = valueAt(objects, id);
  return found == nullptr ? nullptr : *found;
}

const std::vector<t_track_id>* MediaIndex::members(t_track_id playlist) const {
  return valueAt(playlists, playlist);
}

std::string MediaIndex::pathOf(t_track_id id) const {
  if (id == 0) return "/";
  const ScriptedObject* const found = object(id);
  return found == nullptr ? "" : found->path;
}

}  // namespace orvel::scripted
