#include "tests/mtp/responder/Media.h"

#include <boost/locale/encoding_utf.hpp>

namespace orvel::test {

std::uint32_t Media::addStorage(const std::u16string& description) {
  storages.push_back(description);
  return storageId(storages.size() - 1);
}

std::uint32_t Media::folderAbove(std::uint32_t storage, const std::string& path) {
  const std::string folder = path.substr(0, path.rfind('/'));
  if (folder.empty()) return 0;
  std::uint32_t& handle = folders[{storage, folder}];
  if (handle == 0) handle = add(storage, folder, ptp::kAssociation);
  return handle;
}

std::uint32_t Media::add(std::uint32_t storage, const std::string& path, std::uint16_t format,
                         const std::string& content) {
  MediaObject object;
  object.storage = storage;
  object.parent = folderAbove(storage, path);
  object.name = boost::locale::conv::utf_to_utf<char16_t>(path.substr(path.rfind('/') + 1));
  object.format = format;
  object.content = content;
  object.size = content.size();
  objects[++lastHandle] = std::move(object);
  return lastHandle;
}

std::uint32_t Media::addTrack(std::uint32_t storage, const std::string& path, const TrackTags& tags,
                              const std::string& content) {
  const std::uint16_t format = path.ends_with(".flac") ? ptp::kFlac : ptp::kMp3;
  const std::uint32_t handle = add(storage, path, format, content);
  objects[handle].tags = tags;
  return handle;
}

std::uint32_t Media::addPlaylist(std::uint32_t storage, const std::string& path,
                                 const std::u16string& name,
                                 const std::vector<std::uint32_t>& members) {
  const std::uint32_t handle = add(storage, path, ptp::kPlaylist);
  objects[handle].tags.title = name;
  objects[handle].references = members;
  return handle;
}

void Media::renumber() {
  const std::uint32_t offset = lastHandle;
  std::map<std::uint32_t, MediaObject> renumbered;
  for (auto& [handle, object] : objects) {
    if (object.parent != 0) object.parent += offset;
    for (std::uint32_t& member : object.references) member += offset;
    renumbered[handle + offset] = std::move(object);
  }
  objects = std::move(renumbered);
  lastHandle += offset;
}

}  // namespace orvel::test
