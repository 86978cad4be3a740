#include "phones/libmtp/fromLibmtp.h"

#include "phones/libmtp/LibmtpLibrary.h"
#include "tags/MediaKind.h"

namespace orvel::libmtp {

namespace {

bool isSong(LIBMTP_filetype_t type, const char* name) {
  if (LIBMTP_FILETYPE_IS_AUDIO(type)) return true;
  // Many devices give every file the type "unknown": there the name decides.
  return (type == LIBMTP_FILETYPE_UNKNOWN || LIBMTP_FILETYPE_IS_TRACK(type)) && name != nullptr &&
         mediaKindOf(name) == MediaKind::Song;
}

}  // namespace

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : std::string(text);
}

std::string takeText(char* text) {
  const Allocated<char> owner(text);
  return textOf(text);
}

DeviceStorage storageOf(const LIBMTP_devicestorage_t& storage) {
  return {storage.id, textOf(storage.StorageDescription), storage.MaxCapacity,
          storage.FreeSpaceInBytes};
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

DeviceTags tagsOf(const LIBMTP_track_t& track) {
  return {textOf(track.title), textOf(track.artist),   textOf(track.album),
          textOf(track.genre), textOf(track.composer), track.tracknumber};
}

}  // namespace orvel::libmtp
