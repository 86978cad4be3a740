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

}  // namespace
}  // namespace orvel
