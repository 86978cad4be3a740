#pragma once

#include <taglib/tag.h>
#include <taglib/tfile.h>
#include <taglib/tstring.h>

#include <array>

namespace orvel {

/// A file's tag with what TagLib's tag interface lacks: composer, disc number and sort forms.
/// Forwards the ordinary getters to the file's own tag, which must outlive it.
class SongTag : public TagLib::Tag {
 public:
  /// The sort forms of title, artist, album, genre and composer, in this order.
  using SortTexts = std::array<TagLib::String, 5>;

  /// Takes what it adds from the format's own tag where the format is known, otherwise from the
  /// file's properties. The file must have a tag.
  explicit SongTag(const TagLib::File& file);

  [[nodiscard]] TagLib::String composer() const { return composerText; }
  /// 0 when unknown.
  [[nodiscard]] int disc() const { return discNumber; }
  /// Empty where the file gives none.
  [[nodiscard]] const SortTexts& sortTexts() const { return sort; }

  TagLib::String title() const override { return tag.title(); }
  TagLib::String artist() const override { return tag.artist(); }
  TagLib::String album() const override { return tag.album(); }
  TagLib::String comment() const override { return tag.comment(); }
  TagLib::String genre() const override { return tag.genre(); }
  unsigned int year() const override { return tag.year(); }
  unsigned int track() const override { return tag.track(); }

  // Tags are only read here: these do nothing.
  void setTitle(const TagLib::String& /*text*/) override {}
  void setArtist(const TagLib::String& /*text*/) override {}
  void setAlbum(const TagLib::String& /*text*/) override {}
  void setComment(const TagLib::String& /*text*/) override {}
  void setGenre(const TagLib::String& /*text*/) override {}
  void setYear(unsigned int /*number*/) override {}
  void setTrack(unsigned int /*number*/) override {}

 private:
  const TagLib::Tag& tag;
  TagLib::String composerText;
  int discNumber = 0;
  SortTexts sort;
};

}  // namespace orvel
