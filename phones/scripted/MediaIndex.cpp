#include "phones/scripted/MediaIndex.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "phones/scripted/ScriptedPath.h"

namespace orvel::scripted {

namespace {

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
  if (object.kind == ScriptedObject::Kind::Playlist) child.name += kPlaylistSuffix;
  child.isFolder = object.kind == ScriptedObject::Kind::Folder;
  child.isAudio = object.kind == ScriptedObject::Kind::Track;
  child.size = sizeOf(object);
  child.modified = object.modified;
  return child;
}

/// Counts how often each path of each storage has come.
class Occurrences {
 public:
  unsigned next(const ScriptedObject& object) { return counts[{object.storage, object.path}]++; }

 private:
  std::map<std::pair<std::uint32_t, std::string>, unsigned> counts;
};

}  // namespace

void ObjectIds::assign(const std::vector<ScriptedObject>& objects) {
  std::vector<Key> keys;
  keys.reserve(objects.size());
  Occurrences occurrences;
  for (const ScriptedObject& object : objects) {
    keys.emplace_back(object.storage, object.path, occurrences.next(object));
  }
  if (isReversed) std::reverse(keys.begin(), keys.end());
  for (const auto& [storage, path, occurrence] : keys) of(storage, path, occurrence);
}

t_track_id ObjectIds::of(std::uint32_t storage, const std::string& path, unsigned occurrence) {
  const auto [entry, isNew] = ids.try_emplace({storage, path, occurrence}, last + 1);
  if (isNew) ++last;
  return entry->second;
}

MediaIndex::MediaIndex(ScriptedDevice description, ObjectIds& ids)
    : described(std::move(description)) {
  ids.assign(described.objects);
  for (const DeviceStorage& storage : described.storages) folders[{storage.id, 0}];
  Occurrences occurrences;
  for (const ScriptedObject& object : described.objects) {
    const std::string parent = ScriptedPath(object.path).parent;
    const std::string& path = object.target.empty() ? object.path : object.target;
    const unsigned occurrence = object.target.empty() ? occurrences.next(object) : 0;
    add(object, ids.of(object.storage, path, occurrence),
        parent.empty() ? 0 : ids.of(object.storage, parent));
  }
  for (const auto& [id, object] : objects) {
    if (object->kind != ScriptedObject::Kind::Playlist) continue;
    std::vector<t_track_id>& members = playlists[id];
    for (const std::string& path : object->members) {
      members.push_back(ids.of(storageOf(path, object->storage), path));
    }
  }
}

/// The storage that holds `path`: the preferred one, else the first that does.
std::uint32_t MediaIndex::storageOf(const std::string& path, std::uint32_t preferred) const {
  const auto found = storages.find(path);
  const bool isElsewhere = found != storages.end() && found->second.count(preferred) == 0;
  return isElsewhere ? *found->second.begin() : preferred;
}

void MediaIndex::add(const ScriptedObject& object, t_track_id id, t_track_id parent) {
  folders[{object.storage, parent}].push_back(listed(object, id));
  if (object.kind == ScriptedObject::Kind::Folder) folders[{object.storage, id}];
  storages[object.path].insert(object.storage);
  if (object.target.empty()) objects.insert_or_assign(id, &object);
}

const std::vector<DeviceObject>* MediaIndex::children(std::uint32_t storage,
                                                      t_track_id folder) const {
  const auto found = folders.find({storage, folder});
  return found == folders.end() ? nullptr : &found->second;
}

const ScriptedObject* MediaIndex::object(t_track_id id) const {
  const auto found = objects.find(id);
  return found == objects.end() ? nullptr : found->second;
}

const std::vector<t_track_id>* MediaIndex::members(t_track_id playlist) const {
  const auto found = playlists.find(playlist);
  return found == playlists.end() ? nullptr : &found->second;
}

std::string MediaIndex::pathOf(t_track_id id) const {
  if (id == 0) return "/";
  const ScriptedObject* const found = object(id);
  return found == nullptr ? "" : found->path;
}

}  // namespace orvel::scripted
