#include <gmock/gmock.h>
#include <orvel/Cover.h>
#include <orvel/MtpDevice.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>

#include <filesystem>
#include <future>

#include "db/MetaDataInfo.h"
#include "mtp/MtpConnection.h"
#include "tags/PictureHeader.h"
#include "tags/TagReading.h"
#include "tags/TagStream.h"
#include "tags/readFile.h"
#include "tests/support/Effort.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedPhone.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/stick/CoverImage.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/TagWriter.h"

namespace orvel::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using stick::TagForm;
using Outcome = Cover::Outcome;

std::string textOf(const TagLib::ByteVector& bytes) {
  return {bytes.data(), bytes.size()};
}

std::string jpeg(unsigned size) {
  return textOf(stick::coverImage(size));
}

/// The header of a GIF picture, whose dimensions are anything.
std::string gif(unsigned width, unsigned height) {
  const auto byte = [](unsigned number) { return std::string(1, static_cast<char>(number)); };
  return "GIF89a" + byte(width & 255) + byte(width >> 8) + byte(height & 255) + byte(height >> 8);
}

std::string song(const char* sound, TagForm form, const std::string& picture) {
  return textOf(
      stick::tagged(stick::seed(sound), form, {"Title", "Artist"},
                    TagLib::ByteVector(picture.data(), static_cast<unsigned>(picture.size()))));
}

using PictureFrame = TagLib::ID3v2::AttachedPictureFrame;
using Pictures = std::vector<std::pair<PictureFrame::Type, std::string>>;

class CoverTest : public testing::Test {
 protected:
  static void readWith(TagReading reading, const char* program = ORVEL_TAG_READER) {
    setTagReading(reading, program);
  }

  static Cover::Result fetch(const Cover::Song& song) {
    std::promise<Cover::Result> result;
    const Cover cover(song, [&](Cover::Result found) { result.set_value(std::move(found)); });
    return result.get_future().get();
  }

  Cover::Result fetch(const std::string& name) {
    return fetch(Cover::Song{temporary.path(), temporary.path(name)});
  }

  /// Writes a song with these pictures in this order.
  void writeSong(const std::string& name, const Pictures& pictures) {
    const std::string path = temporary.file(name, textOf(stick::seed("cbr.mp3")));
    TagLib::MPEG::File file(path.c_str(), false);
    for (const auto& [type, bytes] : pictures) {
      auto* frame = new PictureFrame;  // the tag owns it
      frame->setMimeType("image/jpeg");
      frame->setType(type);
      frame->setPicture({bytes.data(), static_cast<unsigned>(bytes.size())});
      file.ID3v2Tag(true)->addFrame(frame);
    }
    ASSERT_TRUE(file.save());
  }

  LogCapture log;
  TemporaryFolder temporary;
};

TEST_F(CoverTest, IsTheWholePictureOfEveryContainerAndOtherwiseTheOneBeside) {
  const std::string picture = jpeg(100000);
  const std::map<std::string, std::string> songs = {
      {"a.mp3", song("cbr.mp3", TagForm::Id3v23, picture)},
      {"b.mp3", song("xing.mp3", TagForm::Id3v24, picture)},
      {"c.m4a", song("tone.m4a", TagForm::Mp4, picture)},
      {"d.flac", song("tone.flac", TagForm::Xiph, picture)},
      {"e.wma", song("tone.wma", TagForm::Asf, picture)},
      {"f.wav", song("tone.wav", TagForm::WavId3v2, picture)}};
  for (const auto& [name, bytes] : songs) temporary.file("embedded/" + name, bytes);
  temporary.file("beside/plain.ogg.mp3", song("cbr.mp3", TagForm::Ape, ""));
  temporary.file("beside/garbage.mp3", "garbage");
  temporary.file("beside/Front.GIF", gif(7, 9));
  temporary.file("beside/coverage.jpg", picture);
  temporary.file("none/plain.mp3", song("cbr.mp3", TagForm::Id3v1, ""));
  for (const TagReading reading : {TagReading::InProcess, TagReading::IsolationRequired}) {
    readWith(reading);
    for (const auto& [name, bytes] : songs) {
      const Cover::Result found = fetch("embedded/" + name);
      ASSERT_EQ(found.outcome, Outcome::Found) << name;
      EXPECT_TRUE(found.picture.bytes == picture && found.picture.isEmbedded) << name;
      EXPECT_EQ(found.picture.type, PictureType::Jpeg);
      EXPECT_TRUE(found.picture.width == 64 && found.picture.height == 64)
          << found.picture.width << "x" << found.picture.height;
    }
    for (const char* name : {"plain.ogg.mp3", "garbage.mp3"}) {
      const Cover::Result beside = fetch("beside/"s + name);
      ASSERT_EQ(beside.outcome, Outcome::Found) << name;
      EXPECT_TRUE(beside.picture.type == PictureType::Gif && !beside.picture.isEmbedded &&
                  beside.picture.width == 7 && beside.picture.height == 9);
    }
    EXPECT_EQ(fetch("none/plain.mp3").outcome, Outcome::None);
    EXPECT_EQ(fetch("none/missing.mp3").outcome, Outcome::NotThere);
    EXPECT_EQ(fetch("nowhere/missing.mp3").outcome, Outcome::NotThere);
  }
}

/// Counts the bytes that are fetched.
class CountingStream : public TagStream {
 public:
  CountingStream(const std::string& name, std::string content)
      : TagStream(name, {}), bytes(std::move(content)) {
    setSize(static_cast<std::int64_t>(bytes.size()));
  }

  bool isOpen() const override { return true; }
  long readAt(std::int64_t start, char* target, long length) override {
    fetched += length;
    return static_cast<long>(
        bytes.copy(target, static_cast<std::size_t>(length), static_cast<std::size_t>(start)));
  }

  long fetched = 0;

 private:
  const std::string bytes;
};

TEST_F(CoverTest, IsNotFetchedForTheTagsOfItsSong) {
  constexpr unsigned kPictureBytes = 1000000;
  const std::map<std::string, std::string> songs = {
      {"a.mp3", song("cbr.mp3", TagForm::Id3v23, jpeg(kPictureBytes))},
      {"b.m4a", song("tone.m4a", TagForm::Mp4, jpeg(kPictureBytes))},
      {"c.flac", song("tone.flac", TagForm::Xiph, jpeg(kPictureBytes))},
      {"d.wma", song("tone.wma", TagForm::Asf, jpeg(kPictureBytes))},
      {"e.wma", song("tone.wma", TagForm::Asf, jpeg(50000))},  // another object of the format
      {"f.wav", song("tone.wav", TagForm::WavId3v2, jpeg(kPictureBytes))}};
  for (const auto& [name, bytes] : songs) {
    CountingStream lean(name, bytes);
    CountingStream full(name, bytes);
    full.keepPictures();
    const TagResult read = readFile(lean, ReadingGoal::Tags);
    EXPECT_TRUE(read.values == readFile(full, ReadingGoal::Tags).values && read.values.hasPicture)
        << name;
    EXPECT_EQ(read.values.title, "Title") << name;
    EXPECT_LT(lean.fetched, full.fetched / 2) << name;
    EXPECT_LT(lean.fetched, 40000) << name;
  }
}

TEST_F(CoverTest, IsTheFrontCoverAndNoPictureThatIsNone) {
  const std::string good = jpeg(5000);
  const std::string other = jpeg(6000);
  const std::string huge = good + std::string(Cover::kMostBytes, 'x');
  writeSong("front.mp3", {{PictureFrame::BackCover, other}, {PictureFrame::FrontCover, good}});
  EXPECT_EQ(fetch("front.mp3").picture.bytes, good);
  for (const std::string& bad : {"-->http://radio.example/a.jpg"s, gif(4097, 1), gif(1, 0), huge,
                                 "\xff\xd8\xff\xe0"s, "GIF89a"s, "<svg/>"s}) {
    writeSong("bad/song.mp3", {{PictureFrame::FrontCover, bad}});
    EXPECT_EQ(fetch("bad/song.mp3").outcome, Outcome::Refused) << bad.substr(0, 30);
    writeSong("better.mp3", {{PictureFrame::FrontCover, bad}, {PictureFrame::Artist, other}});
    EXPECT_EQ(fetch("better.mp3").picture.bytes, other);
    temporary.file("beside/cover.jpg", bad);
    temporary.file("beside/song.mp3", song("cbr.mp3", TagForm::Id3v1, ""));
    EXPECT_EQ(fetch("beside/song.mp3").outcome, Outcome::Refused);
    temporary.file("beside/folder.PNG", good);
    EXPECT_EQ(fetch("beside/song.mp3").picture.bytes, good);
    fs::remove(temporary.path("beside/folder.PNG"));
    fs::remove(temporary.path("bad/song.mp3"));
    fs::remove(temporary.path("better.mp3"));
  }
}

TEST_F(CoverTest, NeverLeadsOffTheDevice) {
  temporary.file("stick/song.mp3", song("cbr.mp3", TagForm::Id3v1, ""));
  const std::string stick = temporary.path("stick");
  fs::create_symlink("/proc/self/environ", stick + "/cover.jpg");
  fs::create_symlink("/proc/self/exe", stick + "/link.mp3");
  temporary.folder("stick/folder.jpg");
  EXPECT_EQ(fetch({stick, stick + "/song.mp3"}).outcome, Outcome::Unreadable);
  EXPECT_EQ(fetch({stick, stick + "/link.mp3"}).outcome, Outcome::NotThere);
  EXPECT_EQ(fetch({stick, "/proc/self/exe"}).outcome, Outcome::NotThere);
  EXPECT_EQ(fetch({stick, stick}).outcome, Outcome::NotThere);
}

TEST_F(CoverTest, AHostileSongCostsItselfAndCancellingWaitsForNobody) {
  readWith(TagReading::IsolationRequired, ORVEL_HOSTILE_TAG_READER);
  const std::string picture = jpeg(5000);
  temporary.file("good.mp3", song("cbr.mp3", TagForm::Id3v23, picture));
  for (const std::string deed : {"exit", "throw", "nonsense", "flood", "hang"}) {
    temporary.file(deed + ".mp3", "!" + deed + ".");
    temporary.file("beside/" + deed + ".mp3", "!" + deed + ".");
  }
  temporary.file("beside/album.jpeg", picture);
  for (const std::string deed : {"exit", "throw", "nonsense", "flood"}) {
    EXPECT_EQ(fetch(deed + ".mp3").outcome, Outcome::Unreadable) << deed;
    EXPECT_EQ(fetch("beside/" + deed + ".mp3").picture.bytes, picture) << deed;
  }
  const auto songAt = [&](const std::string& name) {
    return Cover::Song{temporary.path(), temporary.path(name)};
  };
  std::atomic<int> calls{0};
  std::promise<void> told;
  auto hanging =
      std::make_unique<Cover>(songAt("hang.mp3"), [&](const Cover::Result&) { ++calls; });
  Cover waiting(songAt("good.mp3"), [&](const Cover::Result&) { ++calls; });
  std::unique_ptr<Cover> last;
  std::promise<void> isConstructed;
  last = std::make_unique<Cover>(songAt("good.mp3"), [&](const Cover::Result& found) {
    isConstructed.get_future().wait();
    EXPECT_EQ(found.picture.bytes, picture);
    last.reset();  // within its own call
    told.set_value();
  });
  isConstructed.set_value();
  std::this_thread::sleep_for(withSlack(std::chrono::milliseconds(60)));
  waiting.cancel();
  const double spent = Longest().measure([&] { hanging.reset(); });
  EXPECT_LT(spent, withSlack(std::chrono::milliseconds(50)).count());
  told.get_future().wait();
  EXPECT_EQ(calls, 0);
}

TEST_F(CoverTest, OfAPhoneComesFromTheBytesOfTheSongOrFromItsFolder) {
  ScriptedPhone phone;
  const std::string picture = jpeg(300000);
  auto& embedded = phone.device.addTrack("/Music/A/embedded.mp3");
  embedded.content = song("cbr.mp3", TagForm::Id3v23, picture);
  phone.device.find("/Music/A/s.mp3")->content = song("cbr.mp3", TagForm::Id3v1, "");
  auto& told = *phone.device.find("/Music/A/s.mp3")->tags;
  told.milliseconds = 61000;
  told.year = 2003;
  phone.device.addTrack("/Music/B/alone.mp3").content = song("cbr.mp3", TagForm::Id3v1, "");
  phone.device.addFile("/Music/A/folder.jpg").content = picture;
  phone.device.addFile("/Music/A/Cover.jpg").content = jpeg(4000);
  const std::string id = "phone1";
  MtpDevice::instance().setDeviceConnected(phone.plugIn());
  MtpConnection connection(phone.handle, id);
  const auto fetchFrom = [](const std::string& path) {
    return fetch(Cover::Song{"mtp-folder://phone1", path});
  };
  EXPECT_EQ(fetchFrom("/Music/A/s.mp3").outcome, Outcome::NotThere) << "nothing is listed yet";
  ASSERT_TRUE(connection.crawlMtpDevice());
  for (const TagReading reading : {TagReading::InProcess, TagReading::IsolationRequired}) {
    readWith(reading);
    const Cover::Result own = fetchFrom("/Music/A/embedded.mp3");
    EXPECT_TRUE(own.picture.bytes == picture && own.picture.isEmbedded);
    const Cover::Result beside = fetchFrom("/Music/A/s.mp3");
    EXPECT_TRUE(beside.picture.bytes == jpeg(4000) && !beside.picture.isEmbedded);
    EXPECT_EQ(fetchFrom("/Music/B/alone.mp3").outcome, Outcome::None);
    EXPECT_EQ(fetchFrom("/Music/A/folder.jpg").outcome, Outcome::NotThere);
  }
  const auto details = [&](const std::string& path) {
    return connection.generateTrack("", "mtp-folder://phone1", phone.idOf(path), 0)->details;
  };
  const SongDetails byDevice = details("/Music/A/s.mp3");
  EXPECT_TRUE(byDevice.milliseconds == 61000 && byDevice.year == 2003);
  EXPECT_EQ(byDevice.cover, CoverPlace::InFolder);
  const SongDetails byBytes = details("/Music/A/embedded.mp3");
  EXPECT_EQ(byBytes.milliseconds, 235U) << "as the same sound on a stick";
  EXPECT_EQ(byBytes.cover, CoverPlace::Embedded);
  EXPECT_EQ(details("/Music/B/alone.mp3").cover, CoverPlace::None);

  phone.device.addFault({.at = "readBytes",
                         .times = scripted::kForEver,
                         .status = STATUS_NOT_OK_GENERIC_PLUGIN_ERROR});
  phone.update();
  EXPECT_EQ(fetchFrom("/Music/A/embedded.mp3").outcome, Outcome::DeviceFailed);
}

TEST(PictureHeaderTest, TellsTypeAndDimensionsOfEveryFormat) {
  const auto of = [](const std::string& bytes) {
    const auto header = pictureHeaderOf(bytes);
    return header ? std::to_string(static_cast<int>(header->type)) + " " +
                        std::to_string(header->width) + "x" + std::to_string(header->height)
                  : "";
  };
  EXPECT_EQ(of("\xff\xd8\xff\xe0\0\4xx\xff\xff\xc2\0\x0b\x08\1\2\3\4"s), "0 772x258");
  EXPECT_EQ(of("\xff\xd8\xff\xda\0\4xx\xff\xc2\0\x0b\x08\1\2\3\4"s), "") << "after its pixels";
  EXPECT_EQ(of("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\1\1\0\0\0\2"s), "1 257x2");
  EXPECT_EQ(of("RIFF....WEBPVP8X........\x0f\1\0\x03\0\0"s), "2 272x4");
  EXPECT_EQ(of("RIFF....WEBPVP8 .......\x9d\x01\x2a\x10\xc0\x20\x40"s), "2 16x32");
  EXPECT_EQ(of("RIFF....WEBPVP8L....\x2f\x0f\xc0\x07\0"s), "2 16x32");
  EXPECT_EQ(of(gif(16, 300)), "3 16x300");
  EXPECT_EQ(of("BM............\x28\0\0\0\x10\0\0\0\xe0\xff\xff\xff"s), "4 16x32") << "upside down";
  EXPECT_EQ(of("BM............\x0c\0\0\0\x10\0\x20\0"s), "4 16x32");
  EXPECT_EQ(of("BM............\x28\0\0\0\x10\0\0\0\0\0\0\x80"s), "") << "beyond all bounds";
}

}  // namespace
}  // namespace orvel::test
