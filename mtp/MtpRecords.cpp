// The records of directories, tracks and playlists.

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "base/Log.h"
#include "db/MetaDataInfo.h"
#include "db/MtpDirectory.h"
#include "db/Playlist.h"
#include "mtp/MtpConnectionImpl.h"
#include "phones/MtpUtils.h"

namespace orvel {

namespace {

/// Removes the first line feed, then the spaces at both ends.
std::string tidied(std::string text) {
  const std::size_t lineFeed = text.find('\n');
  if (lineFeed != std::string::npos) text.erase(lineFeed, 1);
  text.erase(text.find_last_not_of(' ') + 1);
  text.erase(0, text.find_first_not_of(' '));
  return text;
}

CoverPlace coverPlaceOf(const TrackDetails& details, bool hasFolderPicture) {
  if (details.hasPicture.value_or(false)) return CoverPlace::Embedded;
  if (hasFolderPicture) return CoverPlace::InFolder;
  return details.hasPicture ? CoverPlace::None : CoverPlace::Unknown;
}

/// The reason why a track with this outcome is not read for good.
std::optional<LeftUndone> failureOf(TagResult::Outcome outcome) {
  using Outcome = TagResult::Outcome;
  switch (outcome) {
    case Outcome::DeviceFailed:
    case Outcome::Stalled:
      return LeftUndone::ReadError;
    case Outcome::ReaderLost:
      return LeftUndone::ReaderLost;
    case Outcome::GivenUp:
      return LeftUndone::ReaderGivenUp;
    case Outcome::NotIsolated:
      return LeftUndone::NotIsolated;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::unique_ptr<MtpDirectory> MtpConnection::Impl::generateDirectory(const std::string& path,
                                                                     const std::string& deviceKey,
                                                                     const std::string& rootName) {
  auto directory = std::make_unique<MtpDirectory>();
  std::string parent = parentPath(path);
  directory->parentIsRoot = parent.empty() || parent == "/";
  if (directory->parentIsRoot) parent = rootName;
  directory->path = path;
  directory->name = lastComponent(path);
  directory->partitionId = Md5(Md5Kind::Directory, deviceKey);
  directory->objectId = Md5(Md5Kind::Directory, path);
  directory->parentId = Md5(Md5Kind::Directory, parent);
  directory->parentPath = std::move(parent);
  return directory;
}

CTrackInfo MtpConnection::Impl::readInfo(t_track_id id) {
  t_status status = STATUS_OK;
  if (MtpUtils::deviceHasMetadata(id, handle, status)) {
    // A braced list is evaluated from left to right: the calls are made in this order.
    CTrackInfo info{getTrackTitle(id), getTrackArtist(id), getTrackAlbum(id), getTrackGenre(id),
                    getTrackComposer(id)};
    info.details = MtpUtils::detailsOfDevice(id, handle);
    return info;
  }
  if (status != STATUS_OK) failure = LeftUndone::ReadError;
  // A device that does not answer would only cost the time of another request.
  const bool answers = status == STATUS_OK || status == STATUS_NOT_OK;
  return answers ? readBytes(id) : CTrackInfo();
}

CTrackInfo MtpConnection::Impl::readBytes(t_track_id id) {
  using Outcome = TagResult::Outcome;
  OV_INFO("Track with ID %d is unsupported. Device handle: %d", static_cast<int>(id),
          static_cast<int>(handle));
  CTrackInfo info;
  Outcome outcome = Outcome::DeviceFailed;
  try {
    outcome = MtpUtils::getMetadataFromMTPFile(id, info, handle);
  } catch (const std::bad_alloc&) {
    info = {};  // read again by the next request
  }
  if (outcome != Outcome::Tagged) {
    OV_INFO("Couldn't get metadata using Taglib for trackID %d", static_cast<int>(id));
  }
  if (const auto reason = failureOf(outcome)) failure = reason;
  return info;
}

std::unique_ptr<MetaDataInfo> MtpConnection::Impl::generateTrack(const std::string& /*path*/,
                                                                 const std::string& key,
                                                                 t_track_id id,
                                                                 std::time_t modified) {
  failure.reset();
  const std::string path = MtpUtils::getRawPathForMtpObject(handle, id);
  std::string objectId = getMTPTrackId(id, deviceId);
  if (isHiddenFile(path)) {
    OV_INFO("[KORU] Excluding hidden file");
    return nullptr;
  }
  if (isExcludedFile(path)) {
    OV_INFO("[KORU] Excluding file with unsupported extension");
    return nullptr;
  }
  const CTrackInfo info = readInfo(id);
  const std::uint16_t ownNumber = getTrackNumber(id);
  // A device without tags for the track answers 0; the number of the track's bytes stands in.
  const std::uint16_t number = ownNumber == 0 ? info.getTrackNumber() : ownNumber;
  // An object that left the table has neither path nor identifier.
  if (isGone() || path.empty() || objectId.empty()) {
    OV_INFO("Indexing of track stopped or device removed");
    return nullptr;
  }
  constexpr int kDisc = 1;
  auto song = std::make_unique<MetaDataInfo>(path, key, tidied(info.getTitle()),
                                             tidied(info.getArtist()), tidied(info.getAlbum()),
                                             tidied(info.getGenre()), tidied(info.getComposer()),
                                             number, kDisc, static_cast<long>(modified), objectId);
  const TrackDetails& details = info.details;
  song->details = {details.milliseconds, details.year, tidied(details.albumArtist),
                   coverPlaceOf(details, MtpUtils::hasFolderPicture(id, handle))};
  return song;
}

std::unique_ptr<Playlist> MtpConnection::Impl::generatePlaylist(const std::string& owner,
                                                                const std::string& key,
                                                                std::size_t index) {
  const auto id = static_cast<t_track_id>(index);
  const int shownIndex = static_cast<int>(index);
  OV_INFO("[KORU] Playlist %d", shownIndex);
  std::array<char, kAccessTextBytes> name{};
  if (Access_GetTrackTitle(handle, id, name.data()) != STATUS_OK) doubt("");
  const std::string uri = "mtp-playlist://" + std::to_string(index) + "/" + name.data();
  auto playlist = std::make_unique<Playlist>(uri, key, 0);
  OwnedElements members;
  members.out() = getPlaylistContent(id);
  playlist->entries.reserve(members.size());
  for (const t_playlist_item& member : members) {
    std::string objectId = getMTPTrackId(member.id, owner);
    if (isGone() || objectId.empty()) {
      doubt("");
      break;
    }
    const Md5 trackId(Md5Kind::Track, objectId);
    playlist->entries.push_back({std::move(objectId), trackId, true});
  }
  if (members.size() == 0) {
    OV_INFO("[KORU] Empty playlist or device error (playlist size %d)", 0);
    return nullptr;
  }
  OV_INFO("[KORU] Saving playlist %d: %s", shownIndex, uri.c_str());
  return playlist;
}

}  // namespace orvel
