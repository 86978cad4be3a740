#include <gtest/gtest.h>
#include <taglib/fileref.h>

#include <random>

#include "tags/InProcessTagReader.h"
#include "tests/hostile/Containers.h"
#include "tests/support/Effort.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/stick/Seeds.h"

namespace orvel::test {
namespace {

/// Makes ID3v2 tags, with the freedoms and faults of their writers.
class RandomTag {
 public:
  explicit RandomTag(std::mt19937_64& randomBits) : random(randomBits) {}

  std::string make() {
    version = static_cast<char>(pick({2, 3, 3, 3, 4, 4, 4, 5}));
    flags = static_cast<unsigned>(pick({0, 0, 0, 0, 0x20, 0x40, 0x80, 0x10}));
    sizesArePlain = version > 3 && once(3);
    namesAreOld = version == 3 ? once(3) : once(40);
    std::string frames;
    if ((flags & 0x40U) != 0) frames = synchsafe(10) + zeros(6);
    for (std::size_t count = below(12); count > 0; --count) frames += anyFrame();
    if (once(2)) frames += zeros(below(once(4) ? 20000 : 40));
    if (once(8)) frames += noise(below(60));
    if (version < 4 && (flags & 0x80U) != 0) frames = unsynchronised(frames);
    std::size_t size = frames.size();
    if (once(20)) size += below(40) - std::min<std::size_t>(size, 20);
    std::string tag = "ID3" + std::string(1, version) + '\0' + static_cast<char>(flags) +
                      synchsafe(size) + frames;
    if (once(20)) tag.resize(below(tag.size()));
    return tag;
  }

  bool once(std::size_t in) { return below(in) == 0; }

 private:
  std::size_t below(std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
  }
  template <class Value = int>
  Value pick(std::initializer_list<Value> values) {
    return values.begin()[below(values.size())];
  }

  std::size_t anySize() {
    return pick<std::size_t>({below(300), 118 + below(20), 246 + below(20), 16370 + below(30)});
  }

  std::string noise(std::size_t bytes) {
    std::string text(bytes, '\0');
    for (char& byte : text)
      byte =
          "\0\xFF\xFF"
          "Az"[random() % 5];
    return text;
  }

  static std::string unsynchronised(const std::string& data) {
    std::string out;
    for (const char byte : data) out.append(byte == '\xFF' ? 2 : 1, '\0')[out.size() - 1] = byte;
    return out;
  }

  std::string anyText() {
    std::string letters(anySize(), static_cast<char>('a' + below(26)));
    if (once(4)) letters = std::to_string(below(30)) + "/3";
    if (once(6)) letters += '\0' + std::string("more");
    if (letters.size() > 400 || !once(4)) return pick({'\0', '\3'}) + letters;
    std::string wide = "\1\xFF\xFE";
    for (const char letter : letters) (wide += letter) += pick({'\0', '\xFF', '\4'});
    return wide;
  }

  /// Much of it looks like frames.
  std::string anyPicture() {
    std::string data = std::string("\0image/jpeg\0\3\0", 14);
    const std::size_t size = pick<std::size_t>({anySize(), 4070 + below(40), below(40000), 32768});
    while (data.size() < size)
      data += frame("TIT2 TT2", "\3fake") + std::string(below(900), pick({'\0', '\xFF', 'A'}));
    return data.substr(0, size);
  }

  std::string textFrame() {
    return frame(pick({"TIT2 TT2", "TPE1 TP1", "TALB TAL", "TCON TCO", "TCOM TCM", "TRCK TRK",
                       "TPOS TPA", "TSOT TST", "TSOP TSP", "TSOA TSA", "TSOC TSC", "TXXX TXX"}),
                 anyText());
  }

  std::string anyFrame() {
    const std::size_t kind = below(20);
    if (kind < 6) return frame("APIC PIC", anyPicture());
    if (kind < 8) return frame(pick({"CHAP CHP", "CTOC TOC"}), 'c' + zeros(18) + textFrame());
    if (kind < 10) return frame(pick({"PRIV ABC", "COMM COM", "SYLT SLT"}), noise(anySize()));
    return kind == 10 ? frame(pick({"tit2 Ti2", "TI 2 T 2"}), anyText()) : textFrame();
  }

  /// @param names  the name of four characters, and the older one of three
  std::string frame(const std::string& names, std::string data) {
    const std::string older = names.substr(5);
    if (version == 2) return older + bigEndian(data.size(), 3) + data;
    const std::string name = namesAreOld && !once(30) ? older + '\0' : names.substr(0, 4);
    const unsigned format = once(6) ? anyFormat() : 0;
    const bool isCompressed = (format & (version == 3 ? 0x80U : 0x08U)) != 0;
    // Some writers count the length itself, or leave a part out.
    const std::size_t length = data.size() + (once(8) ? pick({4, -3}) : 0);
    if (isCompressed) data = deflated(data);
    if (version > 3 && (((format & 0x02U) != 0) || (flags & 0x80U) != 0)) {
      data = unsynchronised(data);
    }
    if (isCompressed || (version > 3 && (format & 0x01U) != 0)) {
      data.insert(0, once(3) ? bigEndian(length) : synchsafe(length));
    }
    std::size_t size = data.size();
    if (once(40))
      size =
          pick<std::size_t>({0, size + 1, size + 10, size + 40, size / 2, 1U << 30U, 0xFFFFFFF6});
    const bool isPlain = version == 3 || (once(20) ? !sizesArePlain : sizesArePlain);
    return name + (isPlain ? bigEndian(size) : synchsafe(size)) + pick({'\0', '\0', '\x40'}) +
           static_cast<char>(format) + data;
  }

  /// Compression and its like, alone or together.
  unsigned anyFormat() {
    return version == 3 ? pick({0x80U, 0x80U, 0x40U, 0x20U, 0xC0U})
                        : pick({0x09U, 0x09U, 0x01U, 0x03U, 0x02U, 0x0BU, 0x08U, 0x40U, 0x04U});
  }

  std::mt19937_64& random;
  char version = 4;
  unsigned flags = 0;
  bool sizesArePlain = false;
  bool namesAreOld = false;
};

std::string wavOf(const std::string& tag) {
  std::string chunks =
      "LIST" + littleEndian(18) + "INFOINAM" + littleEndian(6) + std::string("Sound\0", 6);
  chunks += "ID3 " + littleEndian(tag.size()) + tag + zeros(tag.size() % 2);
  return "RIFF" + littleEndian(4 + chunks.size()) + "WAVE" + chunks;
}

/// Genres of 32 KiB in all are hidden from the parser.
constexpr unsigned kLongGenre = 10000;

TEST(Id3v2Tags, AreReadAsThePlainParserReadsThem) {
  std::mt19937_64 random = seededRandom();
  RandomTag tags(random);
  const TemporaryFolder temporary;
  const TagLib::ByteVector audio = stick::seed("cbr.mp3");
  InProcessTagReader reader({});
  long titles = 0;
  const long cases = casesOf(3000, 1000000);
  for (long i = 0; i < cases; ++i) {
    const std::string tag = tags.make();
    const std::string path =
        tags.once(8) ? temporary.file("a.wav", wavOf(tag))
                     : temporary.file("a.mp3", tag + std::string(audio.data(), audio.size()));
    reader.expect(temporary.path(), {path});
    const TagResult read = reader.next(path);
    const TagLib::FileRef plain(path.c_str());
    ASSERT_EQ(read.outcome == TagResult::Outcome::Tagged, plain.tag() != nullptr) << "tag " << i;
    if (plain.tag() == nullptr) continue;
    const TagValues expected = tagValuesOf(*plain.file());
    if (expected.genre.size() > kLongGenre) continue;
    ASSERT_TRUE(read.values == expected)
        << "tag " << i << ", its title: " << expected.title.to8Bit(true);
    titles += read.values.title.isEmpty() ? 0 : 1;
  }
  EXPECT_GT(titles, cases / 10);
}

}  // namespace
}  // namespace orvel::test
