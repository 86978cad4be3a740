#include "tests/hostile/BrokenMedia.h"

#include <algorithm>
#include <utility>

#include "tests/hostile/Containers.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/TagWriter.h"

namespace orvel::test {

namespace {

using stick::TagForm;

constexpr std::size_t kRegion = 4096;  ///< the start of a file, where most of its structure is
constexpr std::size_t kLargeTag = std::size_t{16} << 20;
constexpr std::uint64_t kGiant = std::uint64_t{4} << 30;
constexpr std::size_t kDepth = 10000;

/// The replacements for sizes and counts; all have eight bytes, of which the last four count as a
/// number of four.
const std::vector<std::string>& extremes() {
  static const std::vector<std::string> all = [] {
    std::vector<std::string> texts = {std::string(4, '\x7F'), synchsafe(128)};
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{0x7FFFFFFF}, std::uint64_t{0x80000000},
          std::uint64_t{0xFFFFFFFF}}) {
      texts.push_back(bigEndian(number));
      texts.push_back(littleEndian(number));
    }
    texts.push_back(littleEndian(1) + std::string(4, '\xFF'));
    texts.push_back(std::string(8, '\xFF'));
    texts.push_back(std::string(7, '\xFF') + '\x7F');
    return texts;
  }();
  return all;
}

/// `depth` headers, each of which tells how many bytes follow in its box.
template <class Header>
std::string nest(std::size_t depth, Header header) {
  const std::size_t headerBytes = header(0).size();
  std::string boxes;
  for (std::size_t inner = depth; inner-- > 0;) boxes += header(inner * headerBytes);
  return boxes;
}

std::string repeated(const std::string& part, std::size_t bytes) {
  std::string text;
  text.reserve(bytes);
  while (text.size() + part.size() <= bytes) text += part;
  return text;
}

std::string text(const TagLib::ByteVector& bytes) {
  return {bytes.data(), bytes.size()};
}

}  // namespace

const std::vector<GoodSong>& goodSongs() {
  static const std::vector<GoodSong> all = [] {
    struct Source {
      const char* seed;
      TagForm form;
    };
    const stick::SongTags tags = {"Title", "Artist", "Album", "Rock", "Composer", "3/12", "1/2"};
    std::vector<GoodSong> songs;
    for (const Source& source : std::initializer_list<Source>{{"cbr.mp3", TagForm::Id3v23},
                                                              {"xing.mp3", TagForm::Id3v24AndId3v1},
                                                              {"cbr.mp3", TagForm::Ape},
                                                              {"tone.aac", TagForm::None},
                                                              {"tone.m4a", TagForm::Mp4},
                                                              {"tone.mp4", TagForm::Mp4},
                                                              {"tone.wma", TagForm::Asf},
                                                              {"tone.asf", TagForm::Asf},
                                                              {"tone.flac", TagForm::Xiph},
                                                              {"tone.wav", TagForm::WavId3v2},
                                                              {"tone.wav", TagForm::WavInfo},
                                                              {"tone.mpg", TagForm::None},
                                                              {"tone.mpeg", TagForm::None}}) {
      const std::string seed = source.seed;
      const auto audio = stick::seed(seed);
      const auto cover = stick::seed("cover.jpg");
      songs.push_back({"good" + std::to_string(songs.size()), seed.substr(seed.rfind('.')),
                       text(stick::tagged(audio, source.form, tags, cover))});
    }
    return songs;
  }();
  return all;
}

const std::vector<std::string>& songExtensions() {
  static const std::vector<std::string> all = {".mp3",  ".m4b", ".m4a",  ".wma", ".aac",
                                               ".wav",  ".mpg", ".mpeg", ".asf", ".m4p",
                                               ".flac", ".m4r", ".mp4"};
  return all;
}

std::size_t BrokenMedia::below(std::size_t bound) {
  return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
}

const GoodSong& BrokenMedia::anySong() {
  return goodSongs()[below(goodSongs().size())];
}

char BrokenMedia::anyByte() {
  return static_cast<char>(below(256));
}

const std::string& BrokenMedia::anyExtension() {
  return songExtensions()[below(songExtensions().size())];
}

std::size_t BrokenMedia::anywhere(const std::string& content) {
  return below(below(2) == 0 ? content.size() : std::min(content.size(), kRegion));
}

void BrokenMedia::damaged(std::size_t most, const FileSink& sink) {
  for (std::size_t i = 0; i < most; ++i) {
    const GoodSong& song = anySong();
    std::string content = song.content;
    for (std::size_t changes = below(4); changes > 0; --changes)
      content[anywhere(content)] = anyByte();
    for (std::size_t changes = below(3); changes > 0; --changes) {
      const std::string& bytes = extremes()[below(extremes().size())];
      const std::size_t at = anywhere(content);
      content.replace(at, std::min(bytes.size(), content.size() - at), bytes);
    }
    if (below(3) == 0) content.resize(anywhere(content));
    const bool isMisnamed = below(8) == 0;
    sink({song.name + "-damaged" + std::to_string(i) +
              (isMisnamed ? anyExtension() : song.extension),
          std::move(content)});
  }
}

void BrokenMedia::nested(const FileSink& sink) {
  const std::string ftyp = mp4Box("ftyp", std::string("M4A \0\0\0\0", 8));
  for (const std::string name : {"moov", "ilst"}) {
    sink({"nested-" + name + ".m4a",
          ftyp + nest(kDepth, [&](std::size_t inner) { return bigEndian(8 + inner) + name; })});
  }
  sink({"nested-open.m4b", ftyp + repeated(bigEndian(0x7FFFFFFF) + "moov", 8 * kDepth)});
  sink({"nested-riffs.wav",
        nest(kDepth, [](std::size_t inner) { return "RIFF" + littleEndian(4 + inner) + "WAVE"; })});
}

void BrokenMedia::bombs(const FileSink& sink) {
  const std::string packed = deflated(std::string(std::size_t{64} << 20, 'A'));
  const std::string frame = id3v2Frame("TIT2", packed, true);
  const std::string frames = repeated(frame, 20 * frame.size());
  const std::string tag = id3v2Tag(frames);
  sink({"bombs.mp3", tag});
  const auto sinkChanged = [&](const std::string& name, std::string changed, std::size_t at,
                               char byte) {
    changed[at] = byte;
    sink({name, std::move(changed)});
  };
  sinkChanged("bombs-unsynchronised.mp3", tag, 5, '\x80');
  sinkChanged("bombs-extended.mp3", tag, 5, '\x40');
  sinkChanged("bombs-of-version-5.mp3", tag, 3, '\5');
  // The parser does not check the identifier in a chunk.
  sink({"bombs-in-chunk.wav", "RIFF" + littleEndian(12 + tag.size()) + "WAVEID3 " +
                                  littleEndian(tag.size()) + "XYZ" + tag.substr(3)});
  const std::string old = std::string("TT2\0\0\0\0\2\0\0\3aTIT2", 16) +
                          bigEndian(4 + packed.size()) + '\0' + '\x80' + bigEndian(9) + packed;
  sinkChanged("bombs-after-old-names.mp3", id3v2Tag(repeated(old, 20 * old.size()), 3), 5, '\x20');
  sink({"bombs-in-chapter.mp3", id3v2Tag(id3v2Frame("CHAP", id3v2Chapter(frames)))});
  sink({"bomb-in-bomb.mp3",
        id3v2Tag(id3v2Frame("CHAP", deflated(id3v2Chapter(repeated(frame, kLargeTag))), true))});
  // A block of 16 bytes, after which the block of the next frame follows, and so on.
  const std::string endless = id3v2Frame("TIT2", std::string("\x78\x9C\0\x10\0\xEF\xFF", 7), true);
  const std::string small = repeated(endless, kLargeTag / 2);
  sink({"small-bombs.mp3", id3v2Tag(small)});
  sink({"small-bombs-in-chapter.mp3", id3v2Tag(id3v2Frame("CHAP", id3v2Chapter(small)))});
  std::string longer = id3v2Frame("TIT2", synchsafe(0xFFFFFFF) + "\3abc");
  longer[9] = '\1';
  sink({"lengths.mp3", id3v2Tag(repeated(longer, kLargeTag / 2))});
}

void BrokenMedia::large(const FileSink& sink) {
  const std::string letters(kLargeTag - 1024, 'L');
  sink({"large-text.mp3", id3v2Tag(id3v2Frame("TIT2", "\3" + letters))});
  sink({"large-picture.mp3", id3v2Tag(id3v2Frame("APIC", letters))});
  const std::string texts = repeated(std::string("\3\0", 2), kLargeTag / 2);
  sink({"many-texts.mp3", id3v2Tag(id3v2Frame("TIT2", texts) + id3v2Frame("GRP1", texts))});
  sink({"many-genres.mp3", id3v2Tag(id3v2Frame("TCON", "\3" + repeated("(1)", kLargeTag)))});
  sink({"lyrics-without-end.mp3",
        id3v2Tag(id3v2Frame("SYLT", std::string("\0eng\2\1L", 8) + letters))});
  sink({"many-frames.mp3",
        id3v2Tag(repeated(id3v2Frame("TXXX", std::string("\3a\0b", 4)), kLargeTag))});
  sink({"many-old-frames.mp3", id3v2Tag(repeated(std::string("TXX\0\0\2\3a", 8), kLargeTag), 2)});
  sink({"many-boxes.m4r", repeated(mp4Box("free", ""), kLargeTag)});
}

void BrokenMedia::sparse(const FileSink& sink) {
  for (const GoodSong& song : goodSongs()) {
    sink({song.name + "-sparse" + song.extension, song.content, kGiant});
  }
  for (const std::string& extension : songExtensions()) sink({"hole" + extension, "", kGiant});
  const std::string largest(4, '\x7F');
  sink({"sparse-tag.mp3", std::string("ID3\4\0\0", 6) + largest, kGiant});
  sink({"sparse-frame.mp3", std::string("ID3\3\0\0", 6) + largest + "TIT2" + bigEndian(0x0FFFFFFF),
        kGiant});
  sink({"sparse-box.m4a", bigEndian(1) + "free" + bigEndian(kGiant, 8), kGiant});
  sink({"sparse-chunk.wav",
        "RIFF" + littleEndian(0xFFFFFFFF) + "WAVELIST" + littleEndian(0xFFFFFFF0) + "INFO",
        kGiant});
}

}  // namespace orvel::test
