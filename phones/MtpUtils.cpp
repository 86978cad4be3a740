#include "phones/MtpUtils.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "base/StageThread.h"
#include "phones/AccessText.h"
#include "phones/DeviceList.h"
#include "phones/PartialObjectStream.h"
#include "tags/SongTag.h"
#include "tags/TagReaderScope.h"
#include "tags/TagTexts.h"

namespace orvel {

namespace {

constexpr std::string_view kPlaylistScheme = "mtp-playlist://";

std::optional<DeviceObject> objectOf(Device& device, t_track_id id) {
  return device.withObjects([id](const ObjectTable& objects) -> std::optional<DeviceObject> {
    const DeviceObject* found = objects.find(id);
    if (found == nullptr) return std::nullopt;
    return *found;
  });
}

std::uint16_t trackNumberOf(const TagLib::Tag& tag) {
  const unsigned number = tag.track();
  return number > std::numeric_limits<std::uint16_t>::max() ? 0
                                                            : static_cast<std::uint16_t>(number);
}

}  // namespace

std::string MtpUtils::getRawPathForMtpObject(t_handle handle, t_track_id id) {
  const auto device = DeviceList::instance().find(handle);
  if (device == nullptr) return {};
  return device->withObjects([id](const ObjectTable& objects) { return objects.path(id); });
}

std::string MtpUtils::getObjectIdForMtpTrack(t_track_id id, const std::string& deviceId) {
  const auto device = DeviceList::instance().find(deviceId);
  if (device == nullptr) return {};
  return device->withObjects(
      [&](const ObjectTable& objects) { return objects.objectId(id, deviceId); });
}

std::string MtpUtils::getPathForMtpTrack(t_track_id id, const std::string& deviceId,
                                         const std::string& rawPath) {
  if (rawPath.compare(0, kPlaylistScheme.size(), kPlaylistScheme) != 0) return rawPath;
  const auto device = DeviceList::instance().find(deviceId);
  const auto name = device == nullptr ? std::nullopt : device->playlistName(id);
  return rawPath + "/" + accessText(name.value_or(""));
}

bool MtpUtils::deviceHasMetadata(t_track_id id, t_handle handle, t_status& status) {
  const auto device = DeviceList::instance().find(handle);
  DeviceTags tags;
  status = device == nullptr ? STATUS_NOT_OK_BAD_HANDLE : device->tags(id, tags, WhenBusy::Wait);
  if (status == STATUS_OK && !tags.title.empty()) return true;
  if (device != nullptr) device->assumeNoTags(id);
  return false;
}

TrackDetails MtpUtils::detailsOfDevice(t_track_id id, t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  const DeviceTags tags = device == nullptr ? DeviceTags() : device->knownTags(id);
  return {tags.milliseconds, tags.year, {}, {}};
}

bool MtpUtils::hasFolderPicture(t_track_id id, t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  return device != nullptr && device->withObjects([id](const ObjectTable& objects) {
    return objects.folderPicture(id) != nullptr;
  });
}

TagResult::Outcome MtpUtils::getMetadataFromMTPFile(t_track_id id, CTrackInfo& info,
                                                    t_handle handle) {
  using Outcome = TagResult::Outcome;
  const auto device = DeviceList::instance().find(handle);
  const auto track = device == nullptr ? std::nullopt : objectOf(*device, id);
  if (!track) return Outcome::DeviceFailed;
  PartialObjectStream stream(device, *track, stageThread::stopToken());
  TagResult read = TagReaderScope::read(stream);
  // The worker may be blamed for the time that the device took.
  if (stream.readFailed()) return Outcome::DeviceFailed;
  if (read.outcome != Outcome::Tagged) return read.outcome;
  const SongTag tag(std::move(read.values));
  TagTexts texts = convertTexts(tag);
  info = CTrackInfo(std::move(texts.title), std::move(texts.artist), std::move(texts.album),
                    std::move(texts.genre), std::move(texts.composer), trackNumberOf(tag));
  info.details = {tag.milliseconds(), tag.yearOfRelease(), std::move(texts.albumArtist),
                  tag.hasPicture()};
  return Outcome::Tagged;
}

void MtpUtils::expectSongs(t_handle handle, const std::vector<std::string>& paths) {
  const auto device = DeviceList::instance().find(handle);
  if (device != nullptr) device->expectSongs(paths);
}

bool MtpUtils::isGivenUp(t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  return device != nullptr && device->isGivenUp();
}

void MtpUtils::giveUp(t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  if (device != nullptr) device->giveUp();
}

}  // namespace orvel
