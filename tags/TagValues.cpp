#include "tags/TagValues.h"

#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/audioproperties.h>
#include <taglib/flacfile.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace orvel {

namespace {

/// The values of a tag beside the common fields; the disc may be "2/3".
struct Extras {
  TagLib::String composer;
  TagLib::String disc;
  TagLib::String albumArtist;
  TagValues::SortTexts sort;
  bool hasPicture = false;
};

/// The names that a format gives to the extras.
struct Names {
  const char* composer;
  const char* disc;
  const char* albumArtist;
  const char* titleSort = "TITLESORT";
  const char* artistSort = "ARTISTSORT";
  const char* albumSort = "ALBUMSORT";
  const char* composerSort = "COMPOSERSORT";
};

/// Collects the extras. No format has sort forms of genres.
template <class TextOf>
Extras collect(TextOf textOf, const Names& names, bool hasPicture) {
  return {textOf(names.composer),
          textOf(names.disc),
          textOf(names.albumArtist),
          {textOf(names.titleSort), textOf(names.artistSort), textOf(names.albumSort),
           TagLib::String(), textOf(names.composerSort)},
          hasPicture};
}

/// The tags of one file in order of precedence; null for an absent one.
using Tags = std::array<const TagLib::Tag*, 3>;

bool isUnknown(const TagLib::String& text) {
  return text.isEmpty();
}
bool isUnknown(unsigned int number) {
  return number == 0;
}

/// The value of the first tag that has one. TagLib's own union of tags would ask each tag twice.
template <class Value>
Value firstOf(const Tags& tags, Value (TagLib::Tag::*get)() const) {
  Value value{};
  for (const TagLib::Tag* tag : tags) {
    if (tag != nullptr && isUnknown(value)) value = (tag->*get)();
  }
  return value;
}

/// TagLib always returns the ID3v2 chunk as the tag of a WAV file, even when only its INFO chunk
/// has texts. A picture alone does not count.
const TagLib::Tag* tagWithTexts(const TagLib::RIFF::WAV::File& wav) {
  const bool onlyInfo =
      wav.tag()->TagLib::Tag::isEmpty() && wav.InfoTag() != nullptr && !wav.InfoTag()->isEmpty();
  return onlyInfo ? static_cast<const TagLib::Tag*>(wav.InfoTag()) : wav.tag();
}

/// A tag has few frames, so that looking through them is cheaper than making a key to look up.
TagLib::ID3v2::FrameListMap::ConstIterator find(const TagLib::ID3v2::FrameListMap& frames,
                                                const char* id) {
  return std::find_if(frames.begin(), frames.end(), [id = std::string_view(id)](const auto& frame) {
    return std::string_view(frame.first.data(), frame.first.size()) == id;
  });
}

Extras extrasOf(const TagLib::ID3v2::Tag* tag) {
  if (tag == nullptr) return {};
  const TagLib::ID3v2::FrameListMap& frames = tag->frameListMap();
  const auto text = [&](const char* id) {
    const auto found = find(frames, id);
    return found == frames.end() || found->second.isEmpty() ? TagLib::String()
                                                            : found->second.front()->toString();
  };
  return collect(text, {"TCOM", "TPOS", "TPE2", "TSOT", "TSOP", "TSOA", "TSOC"},
                 find(frames, "APIC") != frames.end());
}

Extras extrasOf(const TagLib::APE::Tag* tag) {
  if (tag == nullptr) return {};
  const TagLib::APE::ItemListMap& items = tag->itemListMap();
  const auto text = [&](const char* key) {
    const auto found = items.find(key);
    return found == items.end() ? TagLib::String() : found->second.toString();
  };
  const bool hasPicture = std::any_of(items.begin(), items.end(), [](const auto& item) {
    return item.first.startsWith("COVER ART");
  });
  return collect(text, {"COMPOSER", "DISC", "ALBUM ARTIST"}, hasPicture);
}

Extras extrasOf(const TagLib::Ogg::XiphComment* tag) {
  if (tag == nullptr) return {};
  const TagLib::Ogg::FieldListMap& fields = tag->fieldListMap();
  const auto text = [&](const char* key) {
    const auto found = fields.find(key);
    return found == fields.end() ? TagLib::String() : found->second.toString();
  };
  return collect(text, {"COMPOSER", "DISCNUMBER", "ALBUMARTIST"},
                 !const_cast<TagLib::Ogg::XiphComment*>(tag)->pictureList().isEmpty());
}

Extras extrasOf(const TagLib::MP4::Tag* tag) {
  if (tag == nullptr) return {};
  constexpr std::string_view kDisc = "disk";
  const auto text = [&](const char* name) {
    if (!tag->contains(name)) return TagLib::String();
    const TagLib::MP4::Item item = tag->item(name);
    return name == kDisc ? TagLib::String::number(item.toIntPair().first)
                         : item.toStringList().toString(", ");
  };
  return collect(text, {"\251wrt", kDisc.data(), "aART", "sonm", "soar", "soal", "soco"},
                 tag->contains("covr"));
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
  return collect(text,
                 {"WM/Composer", "WM/PartOfSet", "WM/AlbumArtist", "WM/TitleSortOrder",
                  "WM/ArtistSortOrder", "WM/AlbumSortOrder", "WM/ComposerSortOrder"},
                 tag->contains("WM/Picture"));
}

void fillEmpty(TagLib::String& text, const TagLib::String& other) {
  if (text.isEmpty()) text = other;
}

Extras orElse(Extras first, const Extras& second) {
  fillEmpty(first.composer, second.composer);
  fillEmpty(first.disc, second.disc);
  fillEmpty(first.albumArtist, second.albumArtist);
  first.hasPicture = first.hasPicture || second.hasPicture;
  for (std::size_t i = 0; i < first.sort.size(); ++i) fillEmpty(first.sort[i], second.sort[i]);
  return first;
}

Extras extrasFromProperties(const TagLib::File& file) {
  const TagLib::PropertyMap properties = file.properties();
  const auto text = [&](const char* key) {
    const auto found = properties.find(key);
    return found == properties.end() ? TagLib::String() : found->second.toString();
  };
  return collect(text, {"COMPOSER", "DISCNUMBER", "ALBUMARTIST"}, false);
}

struct TagsAndExtras {
  Tags tags;
  Extras extras;
};

TagsAndExtras readByFormat(TagLib::File& file) {
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
    return {Tags{mpeg->ID3v2Tag(), mpeg->APETag(), mpeg->ID3v1Tag()},
            orElse(extrasOf(mpeg->ID3v2Tag()), extrasOf(mpeg->APETag()))};
  }
  if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(&file)) {
    return {Tags{mp4->tag()}, extrasOf(mp4->tag())};
  }
  if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(&file)) {
    Extras extras = orElse(extrasOf(flac->xiphComment()), extrasOf(flac->ID3v2Tag()));
    extras.hasPicture = extras.hasPicture || !flac->pictureList().isEmpty();
    return {Tags{flac->xiphComment(), flac->ID3v2Tag(), flac->ID3v1Tag()}, std::move(extras)};
  }
  if (auto* asf = dynamic_cast<TagLib::ASF::File*>(&file)) {
    return {Tags{asf->tag()}, extrasOf(asf->tag())};
  }
  if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(&file)) {
    return {Tags{tagWithTexts(*wav)}, extrasOf(wav->ID3v2Tag())};
  }
  return {Tags{file.tag()}, extrasFromProperties(file)};
}

/// Cuts a text that is too long, but not between the halves of a character.
TagLib::String bounded(const TagLib::String& text) {
  if (text.size() <= TagValues::kMostUnits) return text;
  const wchar_t last = text[TagValues::kMostUnits - 1];
  const bool isHalf = last >= 0xD800 && last < 0xDC00;
  return text.substr(0, TagValues::kMostUnits - (isHalf ? 1 : 0));
}

TagValues::SortTexts bounded(const TagValues::SortTexts& texts) {
  TagValues::SortTexts result;
  std::transform(texts.begin(), texts.end(), result.begin(),
                 [](const TagLib::String& text) { return bounded(text); });
  return result;
}

/// The year of a date that may have no separators, as in 20051231.
unsigned int yearOf(unsigned int date) {
  while (date > TagValues::kLastYear) date /= 10;
  return date;
}

unsigned int millisecondsOf(const TagLib::File& file) {
  const TagLib::AudioProperties* properties = file.audioProperties();
  return properties == nullptr
             ? 0
             : static_cast<unsigned int>(std::max(0, properties->lengthInMilliseconds()));
}

}  // namespace

TagValues tagValuesOf(const TagLib::File& file) {
  // The accessors of the formats' own tags change nothing, but are not const.
  const auto [tags, extras] = readByFormat(const_cast<TagLib::File&>(file));
  return {bounded(firstOf(tags, &TagLib::Tag::title)),
          bounded(firstOf(tags, &TagLib::Tag::artist)),
          bounded(firstOf(tags, &TagLib::Tag::album)),
          bounded(firstOf(tags, &TagLib::Tag::genre)),
          bounded(extras.composer),
          firstOf(tags, &TagLib::Tag::track),
          std::max(0, extras.disc.toInt()),
          bounded(extras.sort),
          bounded(extras.albumArtist),
          yearOf(firstOf(tags, &TagLib::Tag::year)),
          millisecondsOf(file),
          extras.hasPicture};
}

}  // namespace orvel
