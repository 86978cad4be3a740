#include "tests/mtp/responder/Media.h"

#include <algorithm>
#include <stdexcept>

#include "tests/mtp/responder/Dataset.h"

namespace orvel::test {

FileContent fileContent(std::string bytes) {
  return std::make_shared<const std::string>(std::move(bytes));
}

std::uint32_t Media::addStorage(const std::string& description) {
  const auto id = static_cast<std::uint32_t>((storageList.size() + 1) << 16 | 1);
  storageList.push_back({.id = id, .description = description});
  return id;
}

MediaObject& Media::add(std::uint32_t storage, const std::string& path) {
  if (path.empty() || path.front() != '/') throw std::invalid_argument(path);
  if (byPath.contains({storage, path})) throw std::invalid_argument(path + " exists");
  const std::size_t slash = path.rfind('/');
  const std::uint32_t parent = slash == 0 ? 0 : addFolder(storage, path.substr(0, slash));
  MediaObject& object = byHandle[++lastHandle];
  object.handle = lastHandle;
  object.storage = storage;
  object.parent = parent;
  object.name = utf16(path.substr(slash + 1));
  byPath[{storage, path}] = object.handle;
  return object;
}

std::uint32_t Media::addFolder(std::uint32_t storage, const std::string& path) {
  if (const std::uint32_t known = handleOf(storage, path); known != 0) return known;
  MediaObject& folder = add(storage, path);
  folder.format = ptp::kAssociation;
  return folder.handle;
}

std::uint32_t Media::addFile(std::uint32_t storage, const std::string& path,
                             const FileContent& content, std::uint16_t format) {
  MediaObject& file = add(storage, path);
  file.format = format;
  file.content = content;
  file.size = content ? content->size() : 0;
  return file.handle;
}

std::uint32_t Media::addTrack(std::uint32_t storage, const std::string& path, const TrackTags& tags,
                              const FileContent& content) {
  const std::uint32_t handle = addFile(storage, path, content, audioFormat(path));
  byHandle[handle].tags = tags;
  return handle;
}

std::uint32_t Media::addPlaylist(std::uint32_t storage, const std::string& path,
                                 const std::string& name,
                                 const std::vector<std::uint32_t>& members) {
  MediaObject& list = add(storage, path);
  list.format = ptp::kPlaylist;
  list.tags.title = name;
  list.references = members;
  return list.handle;
}

void Media::remove(std::uint32_t handle) {
  const auto found = byHandle.find(handle);
  if (found == byHandle.end()) return;
  const std::uint32_t storage = found->second.storage;
  byHandle.erase(found);
  std::erase_if(byPath, [&](const auto& entry) { return entry.second == handle; });
  for (const std::uint32_t child : children(storage, handle)) remove(child);
}

void Media::renumber() {
  std::map<std::uint32_t, std::uint32_t> fresh;
  for (const auto& [handle, object] : byHandle) fresh[handle] = ++lastHandle;
  std::map<std::uint32_t, MediaObject> renumbered;
  for (auto& [handle, object] : byHandle) {
    object.handle = fresh[handle];
    if (fresh.contains(object.parent)) object.parent = fresh[object.parent];
    for (std::uint32_t& member : object.references) {
      if (fresh.contains(member)) member = fresh[member];
    }
    renumbered[object.handle] = std::move(object);
  }
  byHandle = std::move(renumbered);
  for (auto& [path, handle] : byPath) handle = fresh[handle];
}

MediaObject* Media::find(std::uint32_t handle) {
  const auto found = byHandle.find(handle);
  return found == byHandle.end() ? nullptr : &found->second;
}

std::uint32_t Media::handleOf(std::uint32_t storage, const std::string& path) const {
  const auto found = byPath.find({storage, path});
  return found == byPath.end() ? 0 : found->second;
}

std::vector<std::uint32_t> Media::children(std::uint32_t storage, std::uint32_t parent) const {
  std::vector<std::uint32_t> handles;
  for (const auto& [handle, object] : byHandle) {
    if (object.storage == storage && object.parent == parent) handles.push_back(handle);
  }
  return handles;
}

std::uint16_t audioFormat(const std::string& name) {
  static const std::map<std::string, std::uint16_t> formats = {
      {"mp3", ptp::kMp3}, {"wav", ptp::kWav},   {"wma", ptp::kWma}, {"ogg", ptp::kOgg},
      {"aac", ptp::kAac}, {"flac", ptp::kFlac}, {"m4a", ptp::kMp4}, {"mp4", ptp::kMp4}};
  std::string extension = name.substr(name.rfind('.') + 1);
  std::ranges::transform(extension, extension.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; });
  const auto found = formats.find(extension);
  return found == formats.end() ? static_cast<std::uint16_t>(ptp::kUndefined) : found->second;
}

}  // namespace orvel::test
