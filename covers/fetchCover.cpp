#include "covers/fetchCover.h"

#include <cerrno>
#include <exception>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/DeviceRoot.h"
#include "base/Log.h"
#include "base/OpenDirectory.h"
#include "base/ReadError.h"
#include "phones/DeviceList.h"
#include "phones/PartialObjectStream.h"
#include "tags/FolderPicture.h"
#include "tags/PictureHeader.h"

namespace orvel {

namespace {

using Outcome = Cover::Outcome;

constexpr std::string_view kPhoneScheme = "mtp-folder://";
/// Further entries of a folder are not looked at.
constexpr int kMostEntries = 100000;

Cover::Result without(Outcome outcome) {
  return {outcome, {}};
}

Outcome outcomeOf(const TagResult& read) {
  using Read = TagResult::Outcome;
  switch (read.outcome) {
    case Read::Tagged:
      if (!read.picture.bytes.empty()) return Outcome::Found;
      return read.picture.isRefused ? Outcome::Refused : Outcome::None;
    case Read::Untagged:
      return Outcome::None;
    case Read::Unreadable:
      return Outcome::Unreadable;
    case Read::DeviceFailed:
    case Read::Stalled:
      return Outcome::DeviceFailed;
    case Read::Interrupted:
    case Read::ReaderLost:
    case Read::GivenUp:
    case Read::NotIsolated:
      break;
  }
  return Outcome::Failed;
}

Cover::Result resultOf(TagResult read, bool isEmbedded) {
  Cover::Result result = without(outcomeOf(read));
  if (result.outcome != Outcome::Found) return result;
  const auto header = pictureHeaderOf(read.picture.bytes);
  if (!header) return without(Outcome::Refused);
  result.picture = {header->type, header->width, header->height, isEmbedded,
                    std::move(read.picture.bytes)};
  return result;
}

/// The ways to the files of one song.
class SongFiles {
 public:
  SongFiles() = default;
  virtual ~SongFiles() = default;
  SongFiles(const SongFiles&) = delete;
  SongFiles& operator=(const SongFiles&) = delete;

  /// Reads the picture in the song. Throws std::exception when the parser does.
  virtual TagResult readSong() = 0;
  /// Reads the next best picture file beside it; nothing when there is no other.
  virtual std::optional<TagResult> readNextBeside() = 0;
};

class StickFiles : public SongFiles {
 public:
  StickFiles(TagReader& pictureReader, const Cover::Song& coverSong, std::stop_token token)
      : reader(pictureReader), song(coverSong), stopped(std::move(token)) {}

  /// Why the song cannot be read; nothing when it is there.
  std::optional<Outcome> open() {
    const std::size_t slash = song.path.rfind('/');
    if (slash == std::string::npos) return Outcome::NotThere;
    folder = song.path.substr(0, slash + 1);
    const DeviceRoot root(song.mountPoint);
    struct statx status {};
    bool isLink = false;
    directory = openDirectory(root, folder, status);
    const int error =
        directory ? root.look(dirfd(directory.get()), song.path.c_str() + slash + 1, status, isLink)
                  : errno;
    if (error == 0)
      return S_ISREG(status.stx_mode) ? std::nullopt : std::optional(Outcome::NotThere);
    return isOrdinaryRefusal(error) ? Outcome::NotThere : Outcome::DeviceFailed;
  }

  TagResult readSong() override { return read(song.path); }

  std::optional<TagResult> readNextBeside() override {
    if (directory) list();
    if (names.empty()) return std::nullopt;
    const std::string path = folder + names.begin()->second;
    names.erase(names.begin());
    return read(path);
  }

 private:
  TagResult read(const std::string& path) {
    reader.expect(song.mountPoint, {path});
    return reader.next(path);
  }

  void list() {
    const OpenDirectory listed = std::move(directory);
    for (int entries = 0; entries < kMostEntries && !stopped.stop_requested(); ++entries) {
      const dirent* entry = readdir(listed.get());
      if (entry == nullptr) return;
      if (const auto rank = rankOfFolderPicture(entry->d_name)) {
        names.try_emplace(*rank, entry->d_name);
      }
    }
  }

  TagReader& reader;
  const Cover::Song& song;
  const std::stop_token stopped;
  std::string folder;                        ///< with the slash at its end
  OpenDirectory directory;                   ///< until it is listed
  std::map<std::size_t, std::string> names;  ///< of picture files, by rank
};

class PhoneFiles : public SongFiles {
 public:
  PhoneFiles(TagReader& pictureReader, std::stop_token token)
      : reader(pictureReader), stopped(std::move(token)) {}

  /// Why the song cannot be read; nothing when it is there.
  std::optional<Outcome> open(const std::string& deviceId, const std::string& path) {
    device = DeviceList::instance().find(deviceId);
    if (device == nullptr) return Outcome::NotThere;
    device->withObjects([&](const ObjectTable& objects) {
      const DeviceObject* const found = objects.findTrack(path);
      if (found == nullptr) return;
      song = *found;
      if (const DeviceObject* beside = objects.folderPicture(found->id)) picture = *beside;
    });
    return song ? std::nullopt : std::optional(Outcome::NotThere);
  }

  TagResult readSong() override { return read(*song); }

  std::optional<TagResult> readNextBeside() override {
    if (!picture) return std::nullopt;
    return read(*std::exchange(picture, std::nullopt));
  }

 private:
  TagResult read(const DeviceObject& object) {
    PartialObjectStream stream(device, object, stopped);
    TagResult result = reader.read(stream);
    // The worker may be blamed for the time that the device took.
    if (stream.readFailed()) result = {TagResult::Outcome::DeviceFailed};
    return result;
  }

  TagReader& reader;
  const std::stop_token stopped;
  std::shared_ptr<Device> device;
  std::optional<DeviceObject> song;
  std::optional<DeviceObject> picture;  ///< beside the song; nothing once it was read
};

/// True for an outcome after which another file may still have the cover.
bool leavesHope(Outcome outcome) {
  return outcome == Outcome::None || outcome == Outcome::Refused || outcome == Outcome::Unreadable;
}

TagResult readSong(SongFiles& files, const std::string& path) {
  try {
    return files.readSong();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    OV_WARN("exception from taglib for the cover of: %s what %s", path.c_str(), error.what());
    return {TagResult::Outcome::Unreadable};
  }
}

Cover::Result coverOf(SongFiles& files, const std::string& path) {
  Cover::Result result = resultOf(readSong(files, path), true);
  while (leavesHope(result.outcome)) {
    auto read = files.readNextBeside();
    if (!read) break;
    Cover::Result beside = resultOf(std::move(*read), false);
    const bool tellsMore = !leavesHope(beside.outcome) || result.outcome == Outcome::None;
    if (tellsMore) result = std::move(beside);
  }
  return result;
}

}  // namespace

Cover::Result fetchCover(TagReader& reader, const Cover::Song& song,
                         const std::stop_token& stopped) {
  if (song.mountPoint.starts_with(kPhoneScheme)) {
    PhoneFiles files(reader, stopped);
    const auto obstacle = files.open(song.mountPoint.substr(kPhoneScheme.size()), song.path);
    return obstacle ? without(*obstacle) : coverOf(files, song.path);
  }
  StickFiles files(reader, song, stopped);
  const auto obstacle = files.open();
  return obstacle ? without(*obstacle) : coverOf(files, song.path);
}

}  // namespace orvel
