#include "tests/mtp/responder/ObjectProperties.h"

#include <algorithm>
#include <map>

#include "tests/mtp/responder/Dataset.h"

namespace orvel::test::objectProperties {
namespace {

bool isAudio(std::uint16_t format) {
  return format == ptp::kMp3 || format == ptp::kWav || format == ptp::kMp4 ||
         (format >= ptp::kUndefinedAudio && format <= ptp::kFlac);
}

}  // namespace

std::vector<std::uint16_t> supported(std::uint16_t format) {
  std::vector<std::uint16_t> properties = {ptp::kStorageId,    ptp::kObjectFormat,
                                           ptp::kObjectSize,   ptp::kObjectFileName,
                                           ptp::kDateModified, ptp::kParentObject};
  if (format == ptp::kPlaylist) properties.push_back(ptp::kName);
  if (isAudio(format)) {
    properties.insert(properties.end(), {ptp::kName, ptp::kArtist, ptp::kAlbumName, ptp::kGenre,
                                         ptp::kComposer, ptp::kTrackNumber, ptp::kDuration});
  }
  return properties;
}

std::optional<ptp::DataType> dataType(std::uint16_t property) {
  static const std::map<std::uint16_t, ptp::DataType> types = {
      {ptp::kStorageId, ptp::kUint32},  {ptp::kObjectFormat, ptp::kUint16},
      {ptp::kObjectSize, ptp::kUint64}, {ptp::kObjectFileName, ptp::kText},
      {ptp::kDateModified, ptp::kText}, {ptp::kParentObject, ptp::kUint32},
      {ptp::kName, ptp::kText},         {ptp::kArtist, ptp::kText},
      {ptp::kDuration, ptp::kUint32},   {ptp::kTrackNumber, ptp::kUint16},
      {ptp::kGenre, ptp::kText},        {ptp::kComposer, ptp::kText},
      {ptp::kAlbumName, ptp::kText}};
  const auto found = types.find(property);
  if (found == types.end()) return std::nullopt;
  return found->second;
}

std::string description(std::uint16_t property, ptp::DataType type) {
  Dataset data;
  data.u16(property).u16(type).u8(0);  // cannot be written
  switch (type) {
    case ptp::kUint16:
      data.u16(0);
      break;
    case ptp::kUint32:
      data.u32(0);
      break;
    case ptp::kUint64:
      data.u64(0);
      break;
    case ptp::kText:
      data.u8(0);
      break;
  }
  return data.u32(0).u8(0).bytes();  // no group, no form
}

std::optional<std::string> value(const MediaObject& object, std::uint16_t property) {
  const std::vector<std::uint16_t> known = supported(object.format);
  if (std::ranges::find(known, property) == known.end()) return std::nullopt;
  Dataset data;
  switch (property) {
    case ptp::kStorageId:
      return data.u32(object.storage).bytes();
    case ptp::kObjectFormat:
      return data.u16(object.format).bytes();
    case ptp::kObjectSize:
      return data.u64(object.size).bytes();
    case ptp::kObjectFileName:
      return data.text(object.name).bytes();
    case ptp::kDateModified:
      return data.text(object.modified).bytes();
    case ptp::kParentObject:
      return data.u32(object.parent).bytes();
    case ptp::kName:
      return data.text(object.tags.title).bytes();
    case ptp::kArtist:
      return data.text(object.tags.artist).bytes();
    case ptp::kAlbumName:
      return data.text(object.tags.album).bytes();
    case ptp::kGenre:
      return data.text(object.tags.genre).bytes();
    case ptp::kComposer:
      return data.text(object.tags.composer).bytes();
    case ptp::kTrackNumber:
      return data.u16(object.tags.number).bytes();
    case ptp::kDuration:
      return data.u32(180000).bytes();  // milliseconds
    default:
      return std::nullopt;
  }
}

}  // namespace orvel::test::objectProperties
