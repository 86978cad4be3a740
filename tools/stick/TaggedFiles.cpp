#include "tools/stick/TaggedFiles.h"

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/stick/RandomNames.h"
#include "tools/stick/Seeds.h"
#include "tools/stick/StickFolder.h"
#include "tools/stick/TagWriter.h"

namespace orvel::stick {
namespace {

constexpr std::uint64_t randomSeed = 20;

const std::vector<std::string> id3v1Genres = {"Rock", "Pop", "Jazz", "Folk", "Blues"};

struct Variant {
  std::string name;
  std::string seed;
  std::string extension;
  TagForm form;
};

const std::vector<Variant>& variants() {
  static const std::vector<Variant> all = {
      {"id3v2.3", "cbr.mp3", ".mp3", TagForm::Id3v23},
      {"id3v2.4", "xing.mp3", ".mp3", TagForm::Id3v24},
      {"id3v2.4+id3v1", "cbr.mp3", ".mp3", TagForm::Id3v24AndId3v1},
      {"id3v1", "cbr.mp3", ".mp3", TagForm::Id3v1},
      {"ape", "xing.mp3", ".mp3", TagForm::Ape},
      {"mp4", "tone.m4a", ".m4a", TagForm::Mp4},
      {"mp4", "tone.m4a", ".m4b", TagForm::Mp4},
      {"mp4", "tone.m4a", ".m4p", TagForm::Mp4},
      {"mp4", "tone.m4a", ".m4r", TagForm::Mp4},
      {"mp4", "tone.mp4", ".mp4", TagForm::Mp4},
      {"asf", "tone.wma", ".wma", TagForm::Asf},
      {"asf", "tone.asf", ".asf", TagForm::Asf},
      {"flac", "tone.flac", ".flac", TagForm::Xiph},
      {"wav-id3v2", "tone.wav", ".wav", TagForm::WavId3v2},
      {"wav-info", "tone.wav", ".wav", TagForm::WavInfo},
  };
  return all;
}

/// For ID3v1, which has 30 Latin-1 bytes per text, enough for two words, and a fixed list of
/// genres.
SongTags shortTags(RandomNames& names) {
  SongTags tags;
  const auto text = [&] { return names.phrase(RandomNames::asciiScript(), 2); };
  tags.title = text();
  tags.artist = text();
  tags.album = text();
  tags.genre = names.oneOf(id3v1Genres);
  tags.track = std::to_string(names.number(1, 99));
  tags.year = std::to_string(names.number(1900, 2099));
  return tags;
}

SongTags longTags(RandomNames& names) {
  SongTags tags;
  const auto text = [&](unsigned int most) {
    return names.phrase(names.script(), names.number(1, most));
  };
  tags.title = text(8) + (names.chance(20) ? " \U0001F3B5 & <\"'%#;/" : "");
  if (names.chance(90)) tags.artist = text(3);
  if (names.chance(90)) tags.album = text(5);
  if (names.chance(90)) tags.genre = names.chance(50) ? names.oneOf(id3v1Genres) : text(1);
  if (names.chance(70)) tags.composer = text(3);
  if (names.chance(80)) tags.track = std::to_string(names.number(1, 250));
  if (!tags.track.empty() && names.chance(50)) tags.track += "/250";
  if (names.chance(50)) tags.disc = std::to_string(names.number(1, 9));
  if (!tags.disc.empty() && names.chance(50)) tags.disc += "/9";
  if (names.chance(70)) tags.albumArtist = names.chance(50) ? tags.artist : text(3);
  if (names.chance(80)) tags.year = std::to_string(names.number(1900, 2099));
  return tags;
}

SongTags randomTags(RandomNames& names, TagForm form) {
  if (form == TagForm::Id3v1) return shortTags(names);
  SongTags tags = longTags(names);
  if (form == TagForm::WavInfo) {
    tags.composer.clear();
    tags.disc.clear();
    tags.albumArtist.clear();
    tags.track = tags.track.substr(0, tags.track.find('/'));
  }
  return tags;
}

}  // namespace

void makeTaggedFiles(const std::filesystem::path& folder, int songs,
                     const std::filesystem::path& manifest) {
  StickFolder stick(folder);
  RandomNames names(randomSeed);
  std::ofstream table(manifest);
  table << "path\tform\ttitle\tartist\talbum\tgenre\tcomposer\ttrack\tdisc\talbum_artist\tyear\n";
  for (int i = 0; i < songs; ++i) {
    const Variant& variant = variants()[static_cast<std::size_t>(i) % variants().size()];
    const SongTags tags = randomTags(names, variant.form);
    const std::string path = std::to_string(i % 10) + "/" + std::to_string(i) + variant.extension;
    stick.write(path, tagged(seed(variant.seed), variant.form, tags));
    table << path << '\t' << variant.name << '\t' << tags.title << '\t' << tags.artist << '\t'
          << tags.album << '\t' << tags.genre << '\t' << tags.composer << '\t' << tags.track << '\t'
          << tags.disc << '\t' << tags.albumArtist << '\t' << tags.year << '\n';
  }
  table.close();
  if (!table) throw std::runtime_error("Cannot write " + manifest.string());
  stick.finish();
}

}  // namespace orvel::stick
