#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>

#include <filesystem>

#include "tags/AudioStream.h"
#include "tags/TagValues.h"
#include "tests/endtoend/IndexerHost.h"
#include "tests/endtoend/Song.h"

namespace orvel::test {
namespace {

using testing::ElementsAre;
using TagSourcesTest = IndexerHost;

/// What a reference gives, in one text.
std::string valuesOf(const TagLib::FileRef& file, const TagLib::String& composer, int disc) {
  if (file.isNull()) return "null";
  const TagLib::Tag& tag = *file.tag();
  const TagLib::AudioProperties* audio = file.audioProperties();
  const TagLib::String texts = tag.title() + "|" + tag.artist() + "|" + tag.album() + "|" +
                               tag.genre() + "|" + composer + "|";
  return texts.to8Bit(true) + std::to_string(tag.track()) + "|" + std::to_string(disc) + "|" +
         (audio == nullptr ? "" : std::to_string(audio->lengthInMilliseconds()));
}

std::string openedByPath(const std::string& path) {
  const TagLib::FileRef file(path.c_str(), true, TagLib::AudioProperties::Average);
  if (file.isNull()) return "null";
  const TagLib::PropertyMap properties = file.file()->properties();
  return valuesOf(file, properties["COMPOSER"].toString(),
                  properties["DISCNUMBER"].toString().toInt());
}

std::string openedByStream(const std::string& path) {
  AudioStream stream(AudioFile::open(path), path, {});
  const TagLib::FileRef file(&stream, true, TagLib::AudioProperties::Average);
  if (file.isNull()) return "null";
  const TagValues tag = tagValuesOf(*file.file());
  return valuesOf(file, tag.composer, tag.disc);
}

/// The stream, its cache and the shortcuts to composer and disc must not show in any value.
TEST_F(TagSourcesTest, TheStreamGivesWhatOpeningByPathGivesForEveryContainer) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(ORVEL_SEEDS)) {
    const std::string extension = entry.path().extension();
    const std::string path = stick + "/" + entry.path().filename().string();
    std::filesystem::copy_file(entry.path(), path);
    EXPECT_EQ(openedByStream(path), openedByPath(path)) << path;
    TagLib::FileRef file(path.c_str());
    if (file.isNull()) continue;
    TagLib::PropertyMap properties;
    properties["TITLE"] = TagLib::StringList("Größe");
    properties["ARTIST"] = TagLib::StringList(TagLib::String("歌手", TagLib::String::UTF8));
    properties["COMPOSER"] = TagLib::StringList("Composer");
    properties["DISCNUMBER"] = TagLib::StringList("2/3");
    properties["TRACKNUMBER"] = TagLib::StringList("7/12");
    file.file()->setProperties(properties);
    file.save();
    EXPECT_EQ(openedByStream(path), openedByPath(path)) << path;
    for (const char* renamed : {"x.mp3", "x.m4a", "x.wav", "x.flac", "x.wma", "x"}) {
      const std::string other = stick + "/" + renamed;
      std::filesystem::copy_file(path, other, std::filesystem::copy_options::overwrite_existing);
      EXPECT_EQ(openedByStream(other), openedByPath(other)) << path << " as " << renamed;
    }
    ++files;
  }
  EXPECT_GE(files, 9);
  EXPECT_EQ(openedByStream(stick + "/missing.mp3"), "null");
}

TEST_F(TagSourcesTest, PicturesArePassedOverWithoutATrace) {
  const std::string path = stick + "/cover.mp3";
  for (const auto version : {TagLib::ID3v2::v3, TagLib::ID3v2::v4}) {
    writeSong(path, {"Title", "Artist"});
    TagLib::MPEG::File file(path.c_str());
    for (const unsigned bytes : {3000U, 60000U, 200000U}) {
      auto* picture = new TagLib::ID3v2::AttachedPictureFrame;
      picture->setMimeType("image/jpeg");
      picture->setPicture(TagLib::ByteVector(bytes, 'A'));
      file.ID3v2Tag()->addFrame(picture);
    }
    auto* composer = new TagLib::ID3v2::TextIdentificationFrame("TCOM", TagLib::String::UTF16);
    composer->setText("Behind the pictures");
    file.ID3v2Tag()->addFrame(composer);
    file.save(TagLib::MPEG::File::AllTags, TagLib::File::StripOthers, version);
    EXPECT_EQ(openedByStream(path), openedByPath(path));
    EXPECT_THAT(openedByStream(path), testing::HasSubstr("Behind the pictures"));
    for (const int kept : {100000, 30000, 5000, 15}) {
      std::filesystem::resize_file(path, static_cast<std::uintmax_t>(kept));
      EXPECT_EQ(openedByStream(path), openedByPath(path)) << "cut to " << kept;
    }
  }
}

TEST_F(TagSourcesTest, AFilesOwnSortFormIsTakenForAsianTextsOnly) {
  const auto write = [&](const char* name, const char* title, const char* sortForm) {
    const std::string path = stick + "/" + name;
    writeSong(path, {title, "Artist"});
    TagLib::MPEG::File file(path.c_str());
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame("TSOT", TagLib::String::UTF8);
    frame->setText(TagLib::String(sortForm, TagLib::String::UTF8));
    file.ID3v2Tag(true)->addFrame(frame);
    file.save();
  };
  write("a.mp3", "涙のキッス", "なみだのきっす");
  write("b.mp3", "雨音", "Amaoto");
  write("c.mp3", "The Rain", "Rain, The");
  index("dev1", stick);
  EXPECT_THAT(rowsOf("dev1", "SELECT TITLE, ASIANTITLE FROM SONGS ORDER BY PATH"),
              ElementsAre("涙のキッス|なみだのきっす", "雨音|yu yin", "The Rain|"));
}

}  // namespace
}  // namespace orvel::test
