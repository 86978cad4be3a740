#include <glib.h>
#include <gmock/gmock.h>

#include <memory>
#include <thread>

#include "base/Utf8.h"
#include "base/md5Hex.h"
#include "base/trackKey.h"
#include "db/Directory.h"
#include "db/MetaDataInfo.h"
#include "db/Playlist.h"

namespace orvel::test {
namespace {

TEST(Md5, IsTheKindAndTheDigest) {
  for (int kind = 1; kind <= 6; ++kind) {
    const Md5 md5(static_cast<Md5Kind>(kind), "abc");
    EXPECT_EQ(md5.text(), std::to_string(kind) + "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(static_cast<int>(md5.kind()), kind);
  }
  EXPECT_EQ(Md5(Md5Kind::Track, "/ABC").text(), "0900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Md5(Md5Kind::Artist, "").text(), "2d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Md5().text(), "");
  EXPECT_NE(Md5(Md5Kind::Directory, "/A").text(), Md5(Md5Kind::Directory, "/a").text());
  EXPECT_NE(Md5(Md5Kind::Playlist, "/A").text(), Md5(Md5Kind::Playlist, "A").text());
}

/// The key as the Unicode standard defines it, without shortcuts.
std::string foldedTheLongWay(const std::string& text) {
  const auto owned = [](char* result) {
    const std::unique_ptr<char, decltype(&g_free)> freed(result, &g_free);
    return std::string(result);
  };
  const auto composed = [&](const std::string& any) {
    return owned(g_utf8_normalize(any.c_str(), -1, G_NORMALIZE_NFC));
  };
  return composed(owned(g_utf8_casefold(composed(text).c_str(), -1)));
}

TEST(TrackKey, FoldsEveryCharacterAsTheStandardSays) {
  const std::string besides[] = {"e", "\u0301", "\u1100", "\u30AB", "\u3099"};
  for (char32_t c = 0x80; c < 0x10000; ++c) {
    if (g_unichar_validate(c) == 0) continue;
    std::string text;
    for (const std::string& beside : besides) {
      utf8::append(text, c);
      text += beside;
    }
    ASSERT_EQ(trackKey(text), foldedTheLongWay(text)) << std::hex << static_cast<unsigned>(c);
  }
}

TEST(TrackKey, IsOneForEverySpellingOfAPath) {
  const std::vector<std::vector<std::string>> paths = {
      {"/media/usb/Lists/a.mp3", "media/usb/Lists/a.mp3", "//media/./usb//x/../Lists/a.mp3",
       "/../MEDIA/USB/lists/A.MP3", "/media/usb/Lists/a.mp3/"},
      {"/m/caf\xC3\xA9", "/m/cafe\xCC\x81", "/M/CAF\xC3\x89", "/m/caf\xE9", "/m/x/../CAFE\xCC\x81"},
      {"/m/stra\xC3\x9F"
       "e",
       "/m/STRASSE"},
      {"/m/\xCE\xA3\xCE\x91\xCE\xA3", "/m/\xCF\x83\xCE\xB1\xCF\x82"},
      {"/m/cafe"},
      {"/m/a b"},
      {"/m/ab"},
      {"/ma/b"},
      {"/m/a..b"},
      {"/m/.../ab"},
      {"", "/", "..", "/./.."},
      {"\xFF"},
  };
  for (std::size_t i = 0; i < paths.size(); ++i) {
    for (const std::string& spelling : paths[i]) {
      EXPECT_EQ(trackKey(spelling), trackKey(paths[i][0])) << spelling;
      EXPECT_EQ(trackKey(trackKey(spelling)), trackKey(spelling)) << spelling;
      for (std::size_t j = 0; j < i; ++j) EXPECT_NE(trackKey(spelling), trackKey(paths[j][0]));
    }
  }
  EXPECT_EQ(trackKey("/media//usb/./A/../B"), "media/usb/b");
}

}  // namespace
}  // namespace orvel::test
