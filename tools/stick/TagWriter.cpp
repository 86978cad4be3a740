#include "tools/stick/TagWriter.h"

#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>
#include <taglib/asftag.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/infotag.h>
#include <taglib/mp4coverart.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>

#include <memory>
#include <stdexcept>

#include "tools/stick/LegacyText.h"
#include "tools/stick/openWithoutAudio.h"

namespace orvel::stick {
namespace {

using TagLib::ByteVector;
using TagLib::ByteVectorStream;

const char jpegType[] = "image/jpeg";

TagLib::PropertyMap properties(const SongTags& tags) {
  TagLib::PropertyMap map;
  const auto set = [&](const char* key, const std::string& text) {
    if (text.empty()) return;
    const bool legacy = !tags.legacyCharset.empty();
    map.insert(key, legacy ? TagLib::String(legacyText(text, tags.legacyCharset))
                           : TagLib::String(text, TagLib::String::UTF8));
  };
  set("TITLE", tags.title);
  set("ARTIST", tags.artist);
  set("ALBUM", tags.album);
  set("GENRE", tags.genre);
  set("COMPOSER", tags.composer);
  set("TRACKNUMBER", tags.track);
  set("DISCNUMBER", tags.disc);
  set("ALBUMARTIST", tags.albumArtist);
  set("DATE", tags.year);
  return map;
}

void require(bool saved) {
  if (!saved) throw std::runtime_error("Cannot write tags");
}

void fillId3v2(TagLib::ID3v2::Tag& tag, const SongTags& tags, const ByteVector& cover) {
  tag.setProperties(properties(tags));
  if (!tags.legacyCharset.empty()) {
    for (TagLib::ID3v2::Frame* frame : tag.frameList()) {
      if (auto* text = dynamic_cast<TagLib::ID3v2::TextIdentificationFrame*>(frame))
        text->setTextEncoding(TagLib::String::Latin1);
    }
  }
  if (cover.isEmpty()) return;
  auto picture = std::make_unique<TagLib::ID3v2::AttachedPictureFrame>();
  picture->setMimeType(jpegType);
  picture->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
  picture->setPicture(cover);
  tag.addFrame(picture.release());  // the tag owns its frames
}

void writeMpeg(ByteVectorStream& stream, TagForm form, const SongTags& tags,
               const ByteVector& cover) {
  using File = TagLib::MPEG::File;
  auto file = openWithoutAudio<File>(stream);
  switch (form) {
    case TagForm::Id3v1:
      file.ID3v1Tag(true)->setProperties(properties(tags));
      require(file.save(File::ID3v1));
      break;
    case TagForm::Ape:
      file.APETag(true)->setProperties(properties(tags));
      require(file.save(File::APE));
      break;
    case TagForm::Id3v23:
      fillId3v2(*file.ID3v2Tag(true), tags, cover);
      require(file.save(File::ID3v2, File::StripOthers, TagLib::ID3v2::v3));
      break;
    case TagForm::Id3v24AndId3v1:
      fillId3v2(*file.ID3v2Tag(true), tags, cover);
      require(file.save(File::ID3v1 | File::ID3v2, File::StripOthers, TagLib::ID3v2::v4,
                        File::Duplicate));
      break;
    default:
      fillId3v2(*file.ID3v2Tag(true), tags, cover);
      require(file.save(File::ID3v2, File::StripOthers, TagLib::ID3v2::v4));
  }
}

void writeMp4(ByteVectorStream& stream, const SongTags& tags, const ByteVector& cover) {
  TagLib::MP4::File file(&stream, false);
  file.setProperties(properties(tags));
  if (!cover.isEmpty()) {
    TagLib::MP4::CoverArtList covers;
    covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, cover));
    file.tag()->setItem("covr", covers);
  }
  require(file.save());
}

void writeAsf(ByteVectorStream& stream, const SongTags& tags, const ByteVector& cover) {
  TagLib::ASF::File file(&stream, false);
  file.setProperties(properties(tags));
  if (!cover.isEmpty()) {
    TagLib::ASF::Picture picture;
    picture.setMimeType(jpegType);
    picture.setType(TagLib::ASF::Picture::FrontCover);
    picture.setPicture(cover);
    file.tag()->setAttribute("WM/Picture", picture);
  }
  require(file.save());
}

void writeFlac(ByteVectorStream& stream, const SongTags& tags, const ByteVector& cover) {
  auto file = openWithoutAudio<TagLib::FLAC::File>(stream);
  file.setProperties(properties(tags));
  if (!cover.isEmpty()) {
    auto picture = std::make_unique<TagLib::FLAC::Picture>();
    picture->setMimeType(jpegType);
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setData(cover);
    file.addPicture(picture.release());  // the file owns its pictures
  }
  require(file.save());
}

void writeWav(ByteVectorStream& stream, TagForm form, const SongTags& tags,
              const ByteVector& cover) {
  using File = TagLib::RIFF::WAV::File;
  File file(&stream, false);
  if (form == TagForm::WavInfo) {
    file.InfoTag()->setProperties(properties(tags));
    require(file.save(File::Info));
  } else {
    fillId3v2(*file.ID3v2Tag(), tags, cover);
    require(file.save(File::ID3v2));
  }
}

}  // namespace

ByteVector tagged(const ByteVector& audio, TagForm form, const SongTags& tags,
                  const ByteVector& cover) {
  ByteVectorStream stream(audio);
  switch (form) {
    case TagForm::None:
      break;
    case TagForm::Id3v1:
    case TagForm::Id3v23:
    case TagForm::Id3v24:
    case TagForm::Id3v24AndId3v1:
    case TagForm::Ape:
      writeMpeg(stream, form, tags, cover);
      break;
    case TagForm::Mp4:
      writeMp4(stream, tags, cover);
      break;
    case TagForm::Asf:
      writeAsf(stream, tags, cover);
      break;
    case TagForm::Xiph:
      writeFlac(stream, tags, cover);
      break;
    case TagForm::WavId3v2:
    case TagForm::WavInfo:
      writeWav(stream, form, tags, cover);
  }
  return *stream.data();
}

}  // namespace orvel::stick
