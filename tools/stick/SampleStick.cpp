#include "tools/stick/SampleStick.h"

#include <string>
#include <vector>

#include "tools/stick/CoverImage.h"
#include "tools/stick/LegacyText.h"
#include "tools/stick/Playlist.h"
#include "tools/stick/SampleSongs.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/StickFolder.h"
#include "tools/stick/TagWriter.h"

namespace orvel::stick {
namespace {

constexpr unsigned int coverSize = 8000;

int writeSongs(StickFolder& stick) {
  const TagLib::ByteVector cover = coverImage(coverSize);
  for (const SampleSong& song : sampleSongs()) {
    stick.write(song.path, tagged(seed(song.seed), song.form, song.tags,
                                  song.cover ? cover : TagLib::ByteVector()));
  }
  return static_cast<int>(sampleSongs().size());
}

int writeDamagedSongs(StickFolder& stick) {
  const SongTags tags{"Cut Short", "Amber Harbour", "Damaged", "Folk", "Tilda Rowe", "1"};
  const auto half = [](const TagLib::ByteVector& whole) { return whole.mid(0, whole.size() / 2); };
  stick.write("Damaged/cut in the sound.mp3", half(tagged(seed("cbr.mp3"), TagForm::Id3v24, tags)));
  stick.write("Damaged/cut in the cover.mp3",
              half(tagged(seed("cbr.mp3"), TagForm::Id3v23, tags, coverImage(4 * coverSize))));
  stick.write("Damaged/cut.flac", half(tagged(seed("tone.flac"), TagForm::Xiph, tags)));
  stick.write("Damaged/cut.m4a", half(tagged(seed("tone.m4a"), TagForm::Mp4, tags)));
  stick.writeText("Damaged/empty.mp3", "");
  std::string garbage;
  for (unsigned int i = 0, state = 1; i < 4000; ++i) {
    state = state * 1103515245 + 12345;
    garbage += static_cast<char>(state >> 16);
  }
  stick.writeText("Damaged/garbage.mp3", garbage);
  stick.writeText("Damaged/really a text.wma", "This is not sound.\n");
  return 7;
}

std::string withBackslashes(std::string path) {
  for (char& character : path) {
    if (character == '/') character = '\\';
  }
  return path;
}

/// A file URI with all but the unreserved characters and "/" escaped (RFC 3986, section 2.3).
std::string fileUri(const std::string& path) {
  const std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  const std::string_view digits = "0123456789ABCDEF";
  std::string uri = "file://";
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    if (plain.find(character) != std::string_view::npos)
      uri += character;
    else
      uri += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return uri;
}

void writePlaylists(StickFolder& stick) {
  const std::string lanterns = "Music/Amber Harbour/Paper Lanterns/";
  const auto text = [](const std::string& path, PlaylistKind kind,
                       const std::vector<PlaylistEntry>& entries) {
    return playlistText(kind, std::filesystem::path(path).stem(), entries);
  };
  const auto write = [&](const std::string& path, PlaylistKind kind,
                         const std::vector<PlaylistEntry>& entries) {
    stick.writeText(path, text(path, kind, entries));
  };
  const auto writeFromWindows = [&](const std::string& path, PlaylistKind kind,
                                    const std::vector<PlaylistEntry>& entries) {
    stick.writeText(path, withDosLineEnds(text(path, kind, entries)));
  };
  write("Playlists/Favourites.m3u8", PlaylistKind::M3u8,
        {{"../" + lanterns + "03 Salt Road.mp3", "Salt Road"},
         {"../Music/Северный Пруд/Тихий двор/01 Первый снег.mp3", "Первый снег"},
         {"../Music/青い風船/夜明けの電車/02 雨のち虹.mp3", "雨のち虹"},
         {"../Mixed/100% Pure #1.mp3", "100% Pure #1"},
         {"../Mixed/a%20b.mp3", "Not a blank"},
         {"../Music/Nobody/missing.mp3", "A song that is not there"},
         {"http://radio.example/stream.mp3", "A radio station"}});
  writeFromWindows(
      "Written on Windows.m3u", PlaylistKind::M3u,
      {{withBackslashes(lanterns + "01 First Light on the Quay.mp3"), "First Light"},
       {withBackslashes("Music/Quiet Machines/Signal Path/02 Ground Loop.wma"), "Ground Loop"},
       {"Mixed\\SHOUT.MP3", "Shout"}});
  write("Playlists/Road trip 100% #2.pls", PlaylistKind::Pls,
        {{"../" + lanterns + "02 Paper Lanterns.mp3", "Paper Lanterns"},
         {"../Music/Die Kleine Brücke/Übermut/02 Äpfel.flac", "Äpfel"},
         {"../Music/The Tin Postmen/Letters/02 Stamp Act.mp3", "Stamp Act"}});
  write("Playlists/Morning.asx", PlaylistKind::Asx,
        {{"../Music/Μαρίνα Αυγή/Γαλάζιο/01 Το καΐκι.m4a", "Το καΐκι"},
         {fileUri((stick.path() / "Music/云上茶馆/山间来信/01 竹林听雨.wma").string()), "竹林听雨"},
         {"../Recordings/Demo/01 Kitchen Take.wav", "Kitchen Take"}});
  writeFromWindows(
      "Playlists/Evening.wpl", PlaylistKind::Wpl,
      {{"..\\Music\\Copper Vale\\Old Roads\\01 Milestone.mp3", "Milestone"},
       {"..\\Music\\Lindenhof Quartet\\Evening Pieces\\Disc 2\\01 Quartet No. 2 in G Andante.flac",
        "Andante"},
       {"..\\MIXED\\quiet.flac", "The same file in another case"}});
  write("Music/Élodie Marçay/Nuit légère/Nuit légère.m3u8", PlaylistKind::M3u8,
        {{"01 L'été à Belœil.m4a", "L'été à Belœil"},
         {"./02 Garçon de café.m4a", "Garçon de café"},
         {fileUri(
              (stick.path() / "Music/Élodie Marçay/Nuit légère/03 Où va la rivière.m4a").string()),
          "Où va la rivière ?"}});
  stick.writeText("Playlists/Alte Liste.m3u",
                  legacyText("../Music/Die Kleine Brücke/Übermut/01 Straßenbahn nach Süden.flac\n",
                             "ISO-8859-1"));
}

void writeOtherFiles(StickFolder& stick) {
  const TagLib::ByteVector cover = coverImage(coverSize);
  stick.write("Music/Amber Harbour/Paper Lanterns/folder.jpg", cover);
  stick.write("Music/Die Kleine Brücke/Übermut/cover.jpg", cover);
  stick.writeText("notes.txt", "Give this stick back to Tilda.\n");
  stick.write("Photos/pier.jpg", cover);
  stick.writeText("Music/._01 Paper Lanterns.mp3", "the shadow file of another system");
}

}  // namespace

int makeSampleStick(const std::filesystem::path& folder) {
  StickFolder stick(folder);
  int songs = writeSongs(stick);
  songs += writeDamagedSongs(stick);
  writePlaylists(stick);
  writeOtherFiles(stick);
  stick.finish();
  return songs;
}

}  // namespace orvel::stick
