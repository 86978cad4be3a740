#include "tools/stick/BenchStick.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "tools/stick/AudioGrowth.h"
#include "tools/stick/CoverImage.h"
#include "tools/stick/Playlist.h"
#include "tools/stick/Progress.h"
#include "tools/stick/RandomNames.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/StickFolder.h"
#include "tools/stick/TagWriter.h"

namespace orvel::stick {
namespace {

using TagLib::ByteVector;

constexpr int songsOfPlaylist = 267;
constexpr unsigned int lengths = 8;  // of each sound

struct Share {
  std::string extension;
  std::vector<std::string> seeds;
  std::vector<TagForm> forms;  ///< each album draws one
  int percent;
};

const std::vector<Share>& shares() {
  using enum TagForm;
  static const std::vector<Share> all = {
      {".mp3",
       {"cbr.mp3", "xing.mp3"},
       {Id3v23, Id3v23, Id3v23, Id3v24, Id3v24, Id3v24AndId3v1, Id3v24AndId3v1, Id3v23, Ape},
       69},
      {".m4a", {"tone.m4a"}, {Mp4}, 12},
      {".flac", {"tone.flac"}, {Xiph}, 9},
      {".wma", {"tone.wma"}, {Asf}, 6},
      {".wav", {"tone.wav"}, {WavId3v2, WavInfo}, 4},
  };
  return all;
}

const std::vector<std::string> genres = {
    "Rock",  "Pop",  "Jazz",  "Classical", "Folk", "Electronic", "Hip-Hop",    "Blues",
    "Metal", "Soul", "Latin", "Reggae",    "Funk", "Ambient",    "Soundtrack", "Chanson"};

/// The untagged sounds of one container, in several lengths.
std::vector<ByteVector> sounds(const Share& share) {
  std::vector<ByteVector> all;
  for (unsigned int i = 0; i < lengths; ++i) {
    const std::string& seedName = share.seeds[i % share.seeds.size()];
    all.push_back(grown(seed(seedName), share.extension, 100000 + 17000 * i));
  }
  return all;
}

struct Artist {
  std::string name;
  std::string genre;
  std::vector<std::string> syllables;
  unsigned int albumsLeft = 0;
};

class BenchStick {
 public:
  BenchStick(const std::filesystem::path& folder, int songs, std::uint64_t seed)
      : stick(folder), names(seed), progress(songs), songs(songs) {
    for (const Share& share : shares()) soundsOfShare.push_back(sounds(share));
  }

  void write() {
    while (static_cast<int>(written.size()) < songs) writeAlbum();
    for (int i = 0; i * songsOfPlaylist < songs; ++i) writePlaylist(i);
    stick.finish();
  }

 private:
  /// The container with the largest deficit against its share.
  std::size_t nextShare() const {
    std::size_t next = 0;
    double most = -1;
    for (std::size_t i = 0; i < shares().size(); ++i) {
      const double behind =
          shares()[i].percent / 100.0 * static_cast<double>(written.size() + 12) - writtenOf[i];
      if (behind > most) {
        most = behind;
        next = i;
      }
    }
    return next;
  }

  void nextArtist() {
    artist.syllables = names.script();
    artist.name = names.phrase(artist.syllables, names.number(1, 2));
    artist.genre = names.oneOf(genres);
    artist.albumsLeft = names.number(1, 6);
  }

  void writeAlbum() {
    if (artist.albumsLeft == 0) nextArtist();
    --artist.albumsLeft;
    const std::size_t share = nextShare();
    SongTags tags;
    tags.artist = artist.name;
    if (albums % 5 != 0) tags.albumArtist = artist.name;
    tags.year = std::to_string(1960 + albums % 60);
    tags.genre = artist.genre;
    tags.album = names.phrase(artist.syllables, names.number(1, 3));
    if (names.chance(40)) tags.composer = names.phrase(artist.syllables, 2);
    if (names.chance(15)) tags.disc = names.chance(50) ? "1/2" : "2/2";

    const std::string folder =
        "Music/" + artist.name + "/" + std::to_string(++albums) + " " + tags.album;
    const bool embedded = names.chance(30);
    const bool beside = albums % 4 == 0;
    ByteVector cover;
    if (embedded || beside) cover = coverImage(names.number(60, 200) * 1000);
    if (beside) stick.write(folder + "/folder.jpg", cover);

    writeSongs(folder, share, tags, embedded ? cover : ByteVector());
  }

  void writeSongs(const std::string& folder, std::size_t share, SongTags tags,
                  const ByteVector& cover) {
    const TagForm form = names.oneOf(shares()[share].forms);
    const int left = songs - static_cast<int>(written.size());
    const int count = std::min(left, static_cast<int>(names.number(9, 15)));
    for (int track = 1; track <= count; ++track) {
      tags.title = names.phrase(artist.syllables, names.number(1, 4));
      tags.track = std::to_string(track) + "/" + std::to_string(count);
      std::string path = folder + (track < 10 ? "/0" : "/");
      path.append(std::to_string(track)).append(" ").append(tags.title);
      path += shares()[share].extension;
      stick.write(path, tagged(names.oneOf(soundsOfShare[share]), form, tags, cover));
      written.push_back({path, tags.title});
      progress.step();
    }
    writtenOf[share] += count;
  }

  void writePlaylist(int number) {
    constexpr std::array kinds = {PlaylistKind::M3u, PlaylistKind::M3u8, PlaylistKind::Pls,
                                  PlaylistKind::Asx, PlaylistKind::Wpl};
    const PlaylistKind kind = kinds[static_cast<std::size_t>(number) % kinds.size()];
    const std::string title = "List " + std::to_string(number + 1);
    std::vector<PlaylistEntry> entries;
    for (unsigned int count = names.number(20, 100); count > 0; --count) {
      const PlaylistEntry& song = names.oneOf(written);
      entries.push_back({"../" + song.target, song.title});
    }
    stick.writeText("Playlists/" + title + std::string(extension(kind)),
                    playlistText(kind, title, entries));
  }

  StickFolder stick;
  RandomNames names;
  Progress progress;
  const int songs;
  std::vector<std::vector<ByteVector>> soundsOfShare;
  std::array<double, 5> writtenOf{};
  std::vector<PlaylistEntry> written;
  Artist artist;
  int albums = 0;
};

}  // namespace

void makeBenchStick(const std::filesystem::path& folder, int songs, std::uint64_t seed) {
  BenchStick(folder, songs, seed).write();
}

}  // namespace orvel::stick
