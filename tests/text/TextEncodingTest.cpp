#include "text/TextEncoding.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/Utf8.h"
#include "text/TextRegion.h"

namespace orvel {
namespace {

using namespace std::string_view_literals;

/// A track as the encoder builds it from texts, and its guessed texts.
class TextEncodingTest : public testing::Test {
 protected:
  void SetUp() override { initTrack(&track); }
  void TearDown() override {
    destroyTrack(&track);
    setTextRegion(TextRegion::Neutral);
  }

  void title(std::string_view bytes, const char* encoding = "ISO-8859-1") {
    setTrackTitle(&track, bytes.data(), static_cast<unsigned>(bytes.size()), encoding);
  }
  void artist(std::string_view bytes, const char* encoding = "ISO-8859-1") {
    setTrackArtist(&track, bytes.data(), static_cast<unsigned>(bytes.size()), encoding);
  }
  void album(std::string_view bytes, const char* encoding = "ISO-8859-1") {
    setTrackAlbum(&track, bytes.data(), static_cast<unsigned>(bytes.size()), encoding);
  }

  /// Title, artist and album in UTF-8, each followed by a bar.
  std::string guessed() {
    TrackRecord* const result = guess_and_convert_by_prio(&track, "ISO-8859-1");
    std::string all;
    for (const TrackText* text : {&result->title, &result->artist, &result->album}) {
      if (!isMetadataEmptyUTF8(*text)) all += std::string(text->bytes, text->length);
      all += '|';
    }
    destroyTrack(result);
    std::free(result);
    return all;
  }

  std::string guessedTitle(std::string_view bytes) {
    title(bytes);
    const std::string all = guessed();
    return all.substr(0, all.size() - 3);
  }

  TrackRecord track;
};

TEST_F(TextEncodingTest, asciiAndClaimedUnicodePassUnchanged) {
  title("Hello\tWorld\0end"sv);
  artist("Queensrÿche 桜", "UTF-8");
  EXPECT_EQ(guessed(), "Hello\tWorld\0end|Queensrÿche 桜||"sv);
  artist("", "UTF-8");
  title("");
  EXPECT_EQ(guessed(), "|||");
}

TEST_F(TextEncodingTest, rarerEncodingsAreToldApart) {
  EXPECT_EQ(guessedTitle("\xDE"
                         "em\xEB \xFEydinti g\xEBl\xEBmis"),
            "Žemė žydinti gėlėmis");
  EXPECT_EQ(guessedTitle("Le c\xBDur"), "Le cœur");
  EXPECT_EQ(guessedTitle("\xA5"
                         "C\xE2ntec\xB5 de dragoste, \xAAtefan"),
            "„Cântec” de dragoste, Ștefan");
  EXPECT_EQ(guessedTitle("Ti\xEA\xECng Vi\xEA\xF2t y\xEAu d\xE2\xECu"), "Tiếng Việt yêu dấu");
}

TEST_F(TextEncodingTest, oneEncodingHoldsForAllTextsOfATrack) {
  title("Lato");
  artist(
      "\xA3\xF3"
      "d\x9F");
  album("Mniej ni\xBF zero");
  EXPECT_EQ(guessed(), "Lato|Łódź|Mniej niż zero|");
}

TEST_F(TextEncodingTest, unicodeSiblingSpeaksForWesternTexts) {
  title("Pie\x9C\xF1");
  EXPECT_EQ(guessed(), "Pieśń|||");
  artist("Oheň", "UTF-8");
  EXPECT_EQ(guessed(), "Pieœñ|Oheň||");
}

TEST_F(TextEncodingTest, utf8InDisguiseIsFound) {
  title("桜坂");
  EXPECT_EQ(guessed(), "桜坂|||");
  title("Для тебя");
  EXPECT_EQ(guessed(), "Для тебя|||");
  title("Café");
  artist("Beyonc\xE9");
  album("D\xE9j\xE0 vu");
  EXPECT_EQ(guessed(), "Café|Beyoncé|Déjà vu|");
}

TEST_F(TextEncodingTest, nulsAloneDoNotMakeUtf16) {
  for (const std::string_view text : {"abc\0"sv, "a\0"sv, "abcd\0\0"sv, "One\0Two\0"sv, "A\0\1B"sv})
    EXPECT_EQ(guessedTitle(text), text);
}

TEST_F(TextEncodingTest, cutCharactersAreDropped) {
  const std::string_view cut =
      "\xBB\xFA\xB6\xAF\xD5\xBD\xCA\xBF\xB8\xD2\xB4\xEF\xBB\xFA\xB6\xAF\xD5\xBD\xCA"
      "\xBF\xB8\xD2\xB4\xEF\xBB\xFA\xB6\xAF\xD5\xBD\xCA"sv;
  ASSERT_EQ(cut.size(), 31U);
  EXPECT_EQ(guessedTitle(cut.substr(0, 29)), "机动战士敢达机动战士敢达机动"sv);
  EXPECT_EQ(guessedTitle("Papua-Nova Guin\xE9"), "Papua-Nova Guiné");
  EXPECT_EQ(guessedTitle("Vietn\xE3"), "Vietnã");
}

TEST_F(TextEncodingTest, regionDecidesInDoubt) {
  const std::string_view doubtful = "Akal\xFDn";
  EXPECT_EQ(guessedTitle(doubtful), "Akalýn");
  setTextRegion(TextRegion::Turkey);
  EXPECT_EQ(guessedTitle(doubtful), "Akalın");
  EXPECT_EQ(guessedTitle("Mot\xF6rhead"), "Motörhead");
  setTextRegion(TextRegion::Baltic);
  EXPECT_EQ(guessedTitle("Japon\xF8"), "Japonų");
  setTextRegion(TextRegion::CentralEurope);
  EXPECT_EQ(guessedTitle("Ohe\xF2"), "Oheň");
}

}  // namespace
}  // namespace orvel
