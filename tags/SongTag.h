#pragma once

#include <taglib/tag.h>

#include <utility>

#include "tags/TagValues.h"

namespace orvel {

/// Presents a song's tag values through TagLib's tag interface, and adds the values that this
/// interface lacks.
class SongTag : public TagLib::Tag {
 public:
  explicit SongTag(TagValues tagValues) : values(std::move(tagValues)) {}

  [[nodiscard]] TagLib::String composer() const { return values.composer; }
  /// 0 when unknown.
  [[nodiscard]] int disc() const { return values.disc; }
  [[nodiscard]] const TagValues::SortTexts& sortTexts() const { return values.sort; }
  [[nodiscard]] TagLib::String albumArtist() const { return values.albumArtist; }
  /// 0 when unknown. Not `year`, which would make a tag without texts count as one with content.
  [[nodiscard]] unsigned int yearOfRelease() const { return values.year; }
  /// 0 when unknown.
  [[nodiscard]] unsigned int milliseconds() const { return values.milliseconds; }
  [[nodiscard]] bool hasPicture() const { return values.hasPicture; }

  TagLib::String title() const override { return values.title; }
  TagLib::String artist() const override { return values.artist; }
  TagLib::String album() const override { return values.album; }
  TagLib::String genre() const override { return values.genre; }
  unsigned int track() const override { return values.track; }

  // Not stored by Orvel.
  TagLib::String comment() const override { return {}; }
  unsigned int year() const override { return 0; }

  // Tags are never written.
  void setTitle(const TagLib::String& /*text*/) override {}
  void setArtist(const TagLib::String& /*text*/) override {}
  void setAlbum(const TagLib::String& /*text*/) override {}
  void setComment(const TagLib::String& /*text*/) override {}
  void setGenre(const TagLib::String& /*text*/) override {}
  void setYear(unsigned int /*number*/) override {}
  void setTrack(unsigned int /*number*/) override {}

 private:
  TagValues values;
};

}  // namespace orvel
