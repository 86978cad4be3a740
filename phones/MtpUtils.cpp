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

bool MtpUtils::deviceHasMetadata(t_track_id id, t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  if (device == nullptr) return false;
  DeviceTags tags;
  const t_status status = device->tags(id, tags, WhenBusy::Wait);
  if (status == STATUS_OK && !tags.title.empty()) return true;
  device->assumeNoTags(id);
  return false;
}

bool MtpUtils::getMetadataFromMTPFile(t_track_id id, CTrackInfo& info, t_handle handle) {
  const auto device = DeviceList::instance().find(handle);
  const auto track = device == nullptr ? std::nullopt : objectOf(*device, id);
  if (!track) return false;
  PartialObjectStream stream(device, *track, stageThread::stopToken());
  TagResult read = TagReaderScope::read(stream);
  if (read.outcome != TagResult::Outcome::Tagged) return false;
  const SongTag tag(std::move(read.values));
  TagTexts texts = convertTexts(tag);
  info = CTrackInfo(std::move(texts.title), std::move(texts.artist), std::move(texts.album),
                    std::move(texts.genre), std::move(texts.composer), trackNumberOf(tag));
  return true;
}

}  // namespace orvel
