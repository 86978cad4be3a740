#include "tags/readPicture.h"

#include <taglib/apetag.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tags/FolderPicture.h"
#include "tags/PictureHeader.h"

namespace orvel {

namespace {

using TagLib::ByteVector;

/// The pictures of one song.
class Pictures {
 public:
  template <class Type>
  void add(const ByteVector& bytes, Type type, Type front) {
    (type == front ? fronts : others).push_back(bytes);
  }

  void add(const TagLib::ID3v2::Tag* tag) {
    using Frame = TagLib::ID3v2::AttachedPictureFrame;
    if (tag == nullptr) return;
    for (const TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
      if (const auto* picture = dynamic_cast<const Frame*>(frame)) {
        add(picture->picture(), picture->type(), Frame::FrontCover);
      }
    }
  }

  /// The picture follows a name that ends with NUL.
  void add(const TagLib::APE::Tag* tag) {
    if (tag == nullptr) return;
    for (const auto& [key, item] : tag->itemListMap()) {
      if (!key.startsWith("COVER ART") || item.type() != TagLib::APE::Item::Binary) continue;
      const ByteVector data = item.binaryData();
      const int end = data.find('\0');
      if (end >= 0) add(data.mid(static_cast<unsigned int>(end) + 1), key == kApeFront, true);
    }
  }

  void add(const TagLib::List<TagLib::FLAC::Picture*>& list) {
    for (const TagLib::FLAC::Picture* picture : list) {
      add(picture->data(), picture->type(), TagLib::FLAC::Picture::FrontCover);
    }
  }

  void add(const TagLib::MP4::Tag* tag) {
    if (tag == nullptr || !tag->contains("covr")) return;
    for (const TagLib::MP4::CoverArt& art : tag->item("covr").toCoverArtList()) {
      add(art.data(), true, true);
    }
  }

  void add(const TagLib::ASF::Tag* tag) {
    if (tag == nullptr) return;
    for (const TagLib::ASF::Attribute& attribute : tag->attribute("WM/Picture")) {
      const TagLib::ASF::Picture picture = attribute.toPicture();
      if (picture.isValid()) {
        add(picture.picture(), picture.type(), TagLib::ASF::Picture::FrontCover);
      }
    }
  }

  [[nodiscard]] FoundPicture best() const {
    FoundPicture found;
    for (const auto* pictures : {&fronts, &others}) {
      for (const ByteVector& one : *pictures) {
        const std::string_view bytes(one.data(), one.size());
        if (pictureHeaderOf(bytes)) return {std::string(bytes), false};
        found.isRefused = found.isRefused || !bytes.empty();
      }
    }
    return found;
  }

 private:
  static constexpr char kApeFront[] = "COVER ART (FRONT)";

  std::vector<ByteVector> fronts;
  std::vector<ByteVector> others;
};

Pictures picturesOf(TagLib::File& file) {
  Pictures pictures;
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
    pictures.add(mpeg->ID3v2Tag());
    pictures.add(mpeg->APETag());
  } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(&file)) {
    pictures.add(mp4->tag());
  } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(&file)) {
    pictures.add(flac->pictureList());
    if (flac->xiphComment() != nullptr) pictures.add(flac->xiphComment()->pictureList());
    pictures.add(flac->ID3v2Tag());
  } else if (auto* asf = dynamic_cast<TagLib::ASF::File*>(&file)) {
    pictures.add(asf->tag());
  } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(&file)) {
    pictures.add(wav->ID3v2Tag());
  }
  return pictures;
}

FoundPicture wholeFile(TagStream& stream) {
  if (stream.length() > static_cast<StreamOffset>(Cover::kMostBytes)) return {{}, true};
  std::string bytes(static_cast<std::size_t>(stream.length()), '\0');
  const long got = stream.readAt(0, bytes.data(), static_cast<long>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(got));
  if (!pictureHeaderOf(bytes)) return {{}, true};
  return {std::move(bytes), false};
}

FoundPicture embeddedPicture(TagStream& stream, bool& isSong) {
  stream.keepPictures();
  const TagLib::FileRef reference(&stream, false);
  isSong = !reference.isNull();
  return isSong ? picturesOf(*reference.file()).best() : FoundPicture();
}

}  // namespace

TagResult readPicture(TagStream& stream) {
  using Outcome = TagResult::Outcome;
  if (!stream.isOpen()) return {stream.readFailed() ? Outcome::DeviceFailed : Outcome::Unreadable};
  bool isReadable = true;
  FoundPicture found =
      isPictureName(stream.name()) ? wholeFile(stream) : embeddedPicture(stream, isReadable);
  if (stream.interrupted()) return {Outcome::Interrupted};
  if (stream.readFailed()) return {Outcome::DeviceFailed};
  return {isReadable ? Outcome::Tagged : Outcome::Unreadable, {}, std::move(found)};
}

}  // namespace orvel
