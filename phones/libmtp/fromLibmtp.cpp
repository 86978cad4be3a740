#include "phones/libmtp/fromLibmtp.h"

#include <charconv>
#include <string_view>
#include <system_error>

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

/// The year of a date like "20051231T000000.0"; 0 for any other text.
std::uint32_t yearOf(const char* date) {
  constexpr std::size_t kDigits = 4;
  std::uint32_t year = 0;
  const std::string_view text = date == nullptr ? "" : std::string_view(date).substr(0, kDigits);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), year);
  return error == std::errc() && end == text.data() + kDigits ? year : 0;
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
  return {textOf(track.title),    textOf(track.artist), textOf(track.album), textOf(track.genre),
          textOf(track.composer), track.tracknumber,    track.duration,      yearOf(track.date)};
}

}  // namespace orvel::libmtp
