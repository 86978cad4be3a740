#include "msd/SongTag.h"

#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>

namespace orvel {

namespace {

/// What a tag says beside the common fields; the disc may be "2/3".
struct Extras {
  TagLib::String composer;
  TagLib::String disc;
};

/// A WAV file's tag is its ID3v2 chunk, also when only its INFO chunk has texts.
const TagLib::Tag& tagWithTexts(const TagLib::File& file) {
  if (const auto* wav = dynamic_cast<const TagLib::RIFF::WAV::File*>(&file)) {
    if (wav->tag()->isEmpty() && wav->InfoTag() != nullptr && !wav->InfoTag()->isEmpty()) {
      return *wav->InfoTag();
    }
  }
  return *file.tag();
}

TagLib::String firstFrame(const TagLib::ID3v2::Tag& tag, const char* frameId) {
  const TagLib::ID3v2::FrameListMap& frames = tag.frameListMap();
  const auto found = frames.find(frameId);
  if (found == frames.end() || found->second.isEmpty()) return {};
  return found->second.front()->toString();
}

Extras extrasOf(const TagLib::ID3v2::Tag* tag) {
  if (tag == nullptr) return {};
  return {firstFrame(*tag, "TCOM"), firstFrame(*tag, "TPOS")};
}

Extras extrasOf(const TagLib::APE::Tag* tag) {
  if (tag == nullptr) return {};
  const TagLib::APE::ItemListMap& items = tag->itemListMap();
  const auto text = [&](const char* key) {
    const auto found = items.find(key);
    return found == items.end() ? TagLib::String() : found->second.toString();
  };
  return {text("COMPOSER"), text("DISC")};
}

Extras extrasOf(const TagLib::Ogg::XiphComment* tag) {
  if (tag == nullptr) return {};
  const TagLib::Ogg::FieldListMap& fields = tag->fieldListMap();
  const auto text = [&](const char* key) {
    const auto found = fields.find(key);
    return found == fields.end() ? TagLib::String() : found->second.toString();
  };
  return {text("COMPOSER"), text("DISCNUMBER")};
}

Extras extrasOf(const TagLib::MP4::Tag* tag) {
  if (tag == nullptr) return {};
  Extras extras;
  if (tag->contains("\251wrt")) {
    extras.composer = tag->item("\251wrt").toStringList().toString(", ");
  }
  if (tag->contains("disk")) {
    extras.disc = TagLib::String::number(tag->item("disk").toIntPair().first);
  }
  return extras;
}

Extras extrasOf(const TagLib::ASF::Tag* tag) {
  if (tag == nullptr) return {};
  const auto text = [&](const char* name) {
    TagLib::StringList values;
    for (const TagLib::ASF::Attribute& attribute : tag->attribute(name)) {
      values.append(attribute.toString());
    }
    return values.toString(", ");
  };
  return {text("WM/Composer"), text("WM/PartOfSet")};
}

Extras orElse(Extras first, const Extras& second) {
  if (first.composer.isEmpty()) first.composer = second.composer;
  if (first.disc.isEmpty()) first.disc = second.disc;
  return first;
}

Extras extrasFromProperties(const TagLib::File& file) {
  const TagLib::PropertyMap properties = file.properties();
  const auto text = [&](const char* key) {
    const auto found = properties.find(key);
    return found == properties.end() ? TagLib::String() : found->second.toString();
  };
  return {text("COMPOSER"), text("DISCNUMBER")};
}

Extras extrasOf(const TagLib::File& file) {
  // The accessors that give the formats' own tags are not const, but change nothing.
  auto* open = const_cast<TagLib::File*>(&file);
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(open)) {
    return orElse(extrasOf(mpeg->ID3v2Tag()), extrasOf(mpeg->APETag()));
  }
  if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(open)) return extrasOf(mp4->tag());
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(open)) {
    return orElse(extrasOf(flac->xiphComment()), extrasOf(flac->ID3v2Tag()));
  }
  if (auto* asf = dynamic_cast<TagLib::ASF::File*>(open)) return extrasOf(asf->tag());
  if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(open)) return extrasOf(wav->ID3v2Tag());
  return extrasFromProperties(file);
}

}  // namespace

SongTag::SongTag(const TagLib::File& file) : tag(tagWithTexts(file)) {
  const Extras extras = extrasOf(file);
  composerText = extras.composer;
  discNumber = std::max(0, extras.disc.toInt());
}

}  // namespace orvel
