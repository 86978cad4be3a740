#include "text/Encoding.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdint>
#include <optional>

#include "base/Utf8.h"

namespace orvel {
namespace {

/// The C library's reading of bytes; nothing when it refuses them.
class Converter {
 public:
  explicit Converter(const char* encoding) : converter(iconv_open("UTF-8", encoding)) {}
  ~Converter() {
    if (available()) iconv_close(converter);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool available() const { return reinterpret_cast<std::intptr_t>(converter) != -1; }

  std::optional<std::string> read(std::string bytes) {
    char buffer[64];
    char* from = bytes.data();
    char* to = buffer;
    std::size_t fromLeft = bytes.size(), toLeft = sizeof buffer;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const bool good = iconv(converter, &from, &fromLeft, &to, &toLeft) != std::size_t(-1) &&
                      iconv(converter, nullptr, nullptr, &to, &toLeft) != std::size_t(-1);
    if (!good) return std::nullopt;
    return std::string(buffer, to);
  }

 private:
  iconv_t converter;
};

/// Private-use and control characters are how the C library reads bytes without a meaning.
bool isPlaceholder(std::string_view text) {
  const char32_t code = utf8::first(text).code;
  return (code >= 0xE000 && code <= 0xF8FF) || (code >= 0x80 && code < 0xA0);
}

struct Reference {
  Encoding encoding;
  const char* name;   ///< the C library's name
  int differing = 0;  ///< characters that only the C library reads
};

// clang-format off
constexpr Reference kReferences[] = {
    {Encoding::Windows1250, "CP1250"}, {Encoding::Windows1251, "CP1251"},
    {Encoding::Windows1252, "CP1252"}, {Encoding::Windows1253, "CP1253"},
    {Encoding::Windows1254, "CP1254"}, {Encoding::Windows1255, "CP1255"},
    {Encoding::Windows1256, "CP1256"}, {Encoding::Windows1257, "CP1257"},
    {Encoding::Windows1258, "CP1258"}, {Encoding::Tis620, "TIS-620"},
    {Encoding::Iso8859_7, "ISO-8859-7"}, {Encoding::Iso8859_5, "ISO-8859-5"},
    {Encoding::Ibm866, "IBM866"}, {Encoding::MacCyrillic, "MAC-CYRILLIC", 1},
    {Encoding::Koi8, "KOI8-U"}, {Encoding::Iso8859_2, "ISO-8859-2"},
    {Encoding::Iso8859_15, "ISO-8859-15"}, {Encoding::Iso8859_16, "ISO-8859-16"},
    {Encoding::Gb18030, "GBK"}, {Encoding::Big5, "CP950"}, {Encoding::ShiftJis, "CP932", 374},
    {Encoding::EucJp, "EUC-JP"}, {Encoding::EucKr, "CP949"}};
// clang-format on

TEST(EncodingTest, agreesWithTheCLibrary) {
  for (const Reference& reference : kReferences) {
    Converter converter(reference.name);
    if (!converter.available()) continue;
    int compared = 0;
    int differing = 0;
    const auto compare = [&](const std::string& bytes) {
      const std::optional<std::string> expected = converter.read(bytes);
      if (!expected || expected->empty() || isPlaceholder(*expected)) return;
      ++compared;
      if (toUtf8(reference.encoding, bytes) != *expected) ++differing;
    };
    for (int lead = 0x81; lead < 0x100; ++lead) {
      const std::string first(1, static_cast<char>(lead));
      compare(first);
      if (isSingleByte(reference.encoding)) continue;
      for (int trail = 0x40; trail < 0x100; ++trail) compare(first + static_cast<char>(trail));
    }
    EXPECT_GT(compared, 80) << reference.name;
    EXPECT_EQ(differing, reference.differing) << reference.name;
  }
}

TEST(EncodingTest, readsHongKongsCharacters) {
  EXPECT_EQ(toUtf8(Encoding::Big5, "\xA7\xDA\x92]\x9D\xEF\xBAq \x8F@\xFA@\xFE\xFE \x86@"),
            "我哋嘅歌 \u854B\U00020547\u79D4 \uFFFD@");
}

TEST(EncodingTest, readsFourBytesOfGb18030) {
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\x81\x30\x81\x30"), "\u0080");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\x82\x35\x8F\x33"), "\u9FA6");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\x83\x36\xC7\x38"), "\uD7FF");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\x84\x31\xA4\x39"), "\uFFFF");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\x90\x30\x81\x30"), "\U00010000");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\xE3\x32\x9A\x35"), "\U0010FFFF");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\xE3\x32\x9A\x36"), "\uFFFD");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\xFE\x39\xFE\x39z"), "\uFFFDz");
}

TEST(EncodingTest, marksMeaninglessBytesAndDropsACutCharacter) {
  EXPECT_EQ(toUtf8(Encoding::ShiftJis,
                   "\x83\x52\x80"
                   "a\x83"),
            "コ\uFFFD"
            "a");
  EXPECT_EQ(toUtf8(Encoding::EucJp, "\xB0\xA1\x8F\xB0\xA1\x8F\xB0"), "亜\uFFFD");
  EXPECT_EQ(toUtf8(Encoding::Gb18030, "\xC4\xE3\x81\x30\x81"), "你");
  EXPECT_EQ(toUtf8(Encoding::Big5, "\xA7\x41\xFF\x41"),
            "你\uFFFD"
            "A");
  EXPECT_EQ(toUtf8(Encoding::Utf8, "\xE4\xBD\xA0\xE4"), "你");
}

TEST(EncodingTest, composesVietnameseToneMarks) {
  EXPECT_EQ(toUtf8(Encoding::Windows1258, "Ti\xEA\xECng Vi\xEA\xF2t \xD2"), "Tiếng Việt \u0309");
}

}  // namespace
}  // namespace orvel
