#include "phones/ObjectTable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "base/md5Hex.h"
#include "phones/DeviceLimits.h"
#include "phones/ExclusionRules.h"

namespace orvel {

namespace {

/// Makes a name a single path component that is not empty.
std::string componentOf(std::string name) {
  std::replace(name.begin(), name.end(), '/', '_');
  if (name.empty()) name = "_";
  return name;
}

std::string hex(std::uint32_t number) {
  std::array<char, 9> digits{};
  std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(number));
  return digits.data();
}

}  // namespace

void ObjectTable::beginWalk(std::vector<DeviceStorage> found) {
  // Merges, because a walk that was cut short found less than the one before.
  for (auto& [id, entry] : current.objects) earlier.objects.insert_or_assign(id, std::move(entry));
  for (auto& [folder, ids] : current.children) {
    earlier.children.insert_or_assign(folder, std::move(ids));
  }
  current = {};
  trackList.clear();
  presentStorages = std::move(found);
}

void ObjectTable::setChildren(std::uint32_t storage, t_track_id folder,
                              std::vector<DeviceObject> listed) {
  std::vector<t_track_id>& ids = current.children[{storage, folder}];
  for (const t_track_id id : ids) current.objects.erase(id);
  ids.clear();
  ids.reserve(listed.size());
  for (DeviceObject& object : listed) {
    object.storage = storage;
    object.name = componentOf(std::move(object.name));
    const t_track_id id = object.id;
    // An object stays where it was found first, so that no folder becomes its own ancestor.
    if (current.objects.try_emplace(id, Entry{std::move(object), folder}).second) ids.push_back(id);
  }
}

bool ObjectTable::restoreChildren(std::uint32_t storage, t_track_id folder) {
  const auto known = earlier.children.find({storage, folder});
  if (known == earlier.children.end()) return false;
  std::vector<DeviceObject> objects;
  for (const t_track_id id : known->second) {
    const auto entry = earlier.objects.find(id);
    if (entry != earlier.objects.end()) objects.push_back(entry->second.object);
  }
  setChildren(storage, folder, std::move(objects));
  return true;
}

void ObjectTable::endWalk() {
  earlier = {};
  makeTrackList();
}

void ObjectTable::makeTrackList() {
  std::vector<std::pair<std::string, t_track_id>> tracks;
  for (const auto& [id, entry] : current.objects) {
    if (entry.object.isFolder || !entry.object.isAudio) continue;
    std::string trackPath = path(id);
    if (trackPath.empty() || isHiddenPath(trackPath) || hasExcludedEnding(trackPath)) continue;
    tracks.emplace_back(std::move(trackPath), id);
  }
  std::sort(tracks.begin(), tracks.end());
  const auto last =
      std::unique(tracks.begin(), tracks.end(),
                  [](const auto& one, const auto& other) { return one.first == other.first; });
  trackList.clear();
  std::transform(tracks.begin(), last, std::back_inserter(trackList),
                 [](const auto& track) { return track.second; });
}

const std::vector<t_track_id>* ObjectTable::children(std::uint32_t storage,
                                                     t_track_id folder) const {
  const auto found = current.children.find({storage, folder});
  return found == current.children.end() ? nullptr : &found->second;
}

const DeviceObject* ObjectTable::find(t_track_id id) const {
  const auto found = current.objects.find(id);
  return found == current.objects.end() ? nullptr : &found->second.object;
}

std::string ObjectTable::path(t_track_id id) const {
  auto entry = current.objects.find(id);
  if (entry == current.objects.end()) return {};
  const std::uint32_t storage = entry->second.object.storage;
  std::vector<const std::string*> names;
  for (int depth = 0; entry != current.objects.end(); ++depth) {
    if (depth == kMaxFolderDepth) return {};
    names.push_back(&entry->second.object.name);
    entry = current.objects.find(entry->second.parent);
  }
  std::string result = storagePrefix(storage);
  for (auto name = names.rbegin(); name != names.rend(); ++name) result += "/" + **name;
  return result;
}

/// Empty for the storage with the lowest id, so that inserting a card renames none of its songs.
std::string ObjectTable::storagePrefix(std::uint32_t storage) const {
  const auto is = [storage](const DeviceStorage& one) { return one.id == storage; };
  const auto& all = presentStorages;
  const auto own = std::find_if(all.begin(), all.end(), is);
  const bool isLowest = std::all_of(
      all.begin(), all.end(), [storage](const DeviceStorage& one) { return one.id >= storage; });
  if (isLowest || own == all.end()) return {};
  const bool isUnique = std::none_of(all.begin(), all.end(), [&](const DeviceStorage& other) {
    return other.id != storage && other.description == own->description;
  });
  const std::string name = componentOf(own->description);
  return "/" + (isUnique ? name : name + " " + hex(storage));
}

std::string ObjectTable::objectId(t_track_id id, std::string_view deviceId) const {
  const DeviceObject* object = find(id);
  if (object == nullptr) return {};
  constexpr char kSeparator = '\0';
  std::string identity(deviceId);
  identity += kSeparator + hex(object->storage) + kSeparator + path(id);
  return md5Hex(identity);
}

}  // namespace orvel
