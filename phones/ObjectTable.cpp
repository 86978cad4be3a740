#include "phones/ObjectTable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <optional>

#include "base/md5Hex.h"
#include "phones/DeviceLimits.h"
#include "phones/ExclusionRules.h"
#include "tags/FolderPicture.h"

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

void ObjectTable::expect(const std::vector<std::string>& songs) {
  expected.clear();
  for (std::string path : songs) {
    // Climbs until it meets a folder that is known, and with it those above.
    for (auto slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/')) {
      std::string name = path.substr(slash + 1);
      path.erase(slash);
      if (!expected[path].insert(std::move(name)).second) break;
    }
  }
}

bool ObjectTable::isAsExpected(std::uint32_t storage, t_track_id folder,
                               const std::vector<DeviceObject>& listed) const {
  const auto known = expected.find(folder == 0 ? storagePrefix(storage) : path(folder));
  if (known == expected.end()) return false;
  std::unordered_set<std::string> missing = known->second;
  for (const DeviceObject& object : listed) {
    const std::string name = componentOf(object.name);
    missing.erase(name);
    const bool isTrack =
        object.isAudio && !object.isFolder && !isHiddenPath("/" + name) && !hasExcludedEnding(name);
    if (isTrack && known->second.count(name) == 0) return false;
  }
  return missing.empty();
}

void ObjectTable::beginWalk(std::vector<DeviceStorage> found) {
  childrenOf.clear();
  pictures.clear();
  objects.clear();
  trackList.clear();
  presentStorages = std::move(found);
}

const std::vector<t_track_id>& ObjectTable::setChildren(std::uint32_t storage, t_track_id folder,
                                                        std::vector<DeviceObject> listed) {
  std::vector<t_track_id>& ids = childrenOf[{storage, folder}];
  for (const t_track_id id : ids) objects.erase(id);
  ids.clear();
  ids.reserve(listed.size());
  for (DeviceObject& object : listed) {
    object.storage = storage;
    object.name = componentOf(std::move(object.name));
    const t_track_id id = object.id;
    // An object stays where it was found first, so that no folder becomes its own ancestor.
    if (objects.try_emplace(id, Entry{std::move(object), folder}).second) ids.push_back(id);
  }
  findPicture(storage, folder);
  return ids;
}

void ObjectTable::findPicture(std::uint32_t storage, t_track_id folder) {
  pictures.erase({storage, folder});
  std::optional<std::size_t> best;
  for (const t_track_id id : childrenOf[{storage, folder}]) {
    const DeviceObject& object = objects.at(id).object;
    const auto rank = object.isFolder ? std::nullopt : rankOfFolderPicture(object.name);
    if (!rank || (best && *rank >= *best)) continue;
    best = rank;
    pictures[{storage, folder}] = id;
  }
}

const DeviceObject* ObjectTable::folderPicture(t_track_id track) const {
  const auto entry = objects.find(track);
  if (entry == objects.end()) return nullptr;
  const auto found = pictures.find({entry->second.object.storage, entry->second.parent});
  return found == pictures.end() ? nullptr : find(found->second);
}

void ObjectTable::endWalk() {
  expected.clear();
  makeTrackList();
}

void ObjectTable::makeTrackList() {
  std::vector<std::pair<std::string, t_track_id>> tracks;
  for (const auto& [id, entry] : objects) {
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
  const auto found = childrenOf.find({storage, folder});
  return found == childrenOf.end() ? nullptr : &found->second;
}

const DeviceObject* ObjectTable::findTrack(const std::string& trackPath) const {
  const auto found =
      std::lower_bound(trackList.begin(), trackList.end(), trackPath,
                       [this](t_track_id id, const std::string& text) { return path(id) < text; });
  return found != trackList.end() && path(*found) == trackPath ? find(*found) : nullptr;
}

const DeviceObject* ObjectTable::find(t_track_id id) const {
  const auto found = objects.find(id);
  return found == objects.end() ? nullptr : &found->second.object;
}

std::string ObjectTable::path(t_track_id id) const {
  auto entry = objects.find(id);
  if (entry == objects.end()) return {};
  const std::uint32_t storage = entry->second.object.storage;
  std::vector<const std::string*> names;
  for (int depth = 0; entry != objects.end(); ++depth) {
    if (depth == kMaxFolderDepth) return {};
    names.push_back(&entry->second.object.name);
    entry = objects.find(entry->second.parent);
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
