#include "text/trim.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string_view>

#include "base/Utf8.h"

namespace orvel {
namespace {

using namespace std::string_view_literals;

std::string trimmed(std::string_view text) {
  return trim(text.data(), static_cast<unsigned>(text.size()));
}

TEST(TrimTest, takesBlanksOfAllScriptsOffBothEnds) {
  EXPECT_EQ(trimmed("  \t Title \r\n"), "Title");
  EXPECT_EQ(trimmed("\u00A0\u3000\uFEFF\u200B\u200E漢 字\u2003\u2029\u0085 "), "漢 字");
  EXPECT_EQ(trimmed(" \u3000\t\u2060"), "");
  EXPECT_EQ(trimmed("a\uFFFD \uFFFD"), "a");
  EXPECT_EQ(trim(nullptr, 7), "");
  EXPECT_EQ(trimmed(""), "");
}

TEST(TrimTest, keepsWhatIsInside) {
  EXPECT_EQ(trimmed("a   b"), "a   b");
  EXPECT_EQ(trimmed("می\u200Cخواهم"), "می\u200Cخواهم");
  EXPECT_EQ(trimmed("e\u0301 Ａ"), "e\u0301 Ａ");
  EXPECT_EQ(trimmed("a\uFFFDb"), "a\uFFFDb");
}

TEST(TrimTest, makesOneSpaceOfEachRunOfControlCharacters) {
  EXPECT_EQ(trimmed("a\r\n\tb\x7F\u0080\u2028"
                    "c"),
            "a b c");
  EXPECT_EQ(trimmed("a \n b"), "a   b");
}

TEST(TrimTest, endsAtTheFirstNulBehindLeadingOnes) {
  EXPECT_EQ(trimmed("\0\0 Title\0garbage"sv), "Title");
  EXPECT_EQ(trimmed(" \0Title"sv), "");
  EXPECT_EQ(trimmed("\0\0"sv), "");
}

TEST(TrimTest, marksIllFormedPartsOnce) {
  EXPECT_EQ(trimmed("a\xE4\xB8z"), "a\uFFFDz");                  // cut sequence
  EXPECT_EQ(trimmed("a\xC0\xAFz"), "a\uFFFD\uFFFDz");            // overlong
  EXPECT_EQ(trimmed("a\xED\xA0\x80z"), "a\uFFFD\uFFFD\uFFFDz");  // surrogate
  EXPECT_EQ(trimmed("a\xF4\x90z"), "a\uFFFD\uFFFDz");            // beyond U+10FFFF
  EXPECT_EQ(trimmed("a\xF0\x9F\x8E\xB5z"), "a\U0001F3B5z");
  EXPECT_EQ(trimmed("ab\xE4\xB8"), "ab");
}

TEST(TrimTest, anyBytesGiveValidTextThatStaysAsItIs) {
  std::mt19937 random(5);
  constexpr std::string_view favoured = "\0 \n\x7F\xC2\x80\xE2\x80\xA8\xE3\xF0\x9F\xEF\xBF\xBD"sv;
  for (int round = 0; round < 20000; ++round) {
    // Exactly as long as the text, so that a sanitizer sees the first byte that is read beyond it.
    const unsigned length = random() % 12;
    const auto bytes = std::make_unique<char[]>(length);
    for (unsigned i = 0; i < length; ++i) {
      bytes[i] = random() % 2 ? favoured[random() % favoured.size()] : static_cast<char>(random());
    }
    const std::string once = trim(bytes.get(), length);
    ASSERT_EQ(trimmed(once), once);
    for (std::string_view rest = once; !rest.empty();) {
      const utf8::Character character = utf8::take(rest);
      ASSERT_TRUE(character.valid);
      ASSERT_GE(character.code, 0x20U);
    }
  }
}

}  // namespace
}  // namespace orvel
