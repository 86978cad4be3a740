#include "tools/stick/SampleSongs.h"

namespace orvel::stick {
namespace {

const char cbr[] = "cbr.mp3";
const char xing[] = "xing.mp3";
const char m4a[] = "tone.m4a";
const char mp4[] = "tone.mp4";
const char wma[] = "tone.wma";
const char flac[] = "tone.flac";
const char wav[] = "tone.wav";

/// An album's songs share their folder, sound, tag form and all tags but title and track.
struct SampleAlbum {
  std::string folder;
  std::string extension;
  std::string seed;
  TagForm form;
  SongTags common;
  std::vector<std::string> titles;
  bool cover = false;
};

const std::vector<SampleAlbum>& albums() {
  static const std::vector<SampleAlbum> all = {
      {"Music/Amber Harbour/Paper Lanterns",
       ".mp3",
       xing,
       TagForm::Id3v23,
       {"", "Amber Harbour", "Paper Lanterns", "Folk", "Tilda Rowe"},
       {"First Light on the Quay", "Paper Lanterns", "Salt Road", "Homeward Tin Boat"},
       true},
      {"Music/Amber Harbour/Winter Tide",
       ".mp3",
       cbr,
       TagForm::Id3v24AndId3v1,
       {"", "Amber Harbour", "Winter Tide", "Folk", "Tilda Rowe & Jonas Pell"},
       {"A Lighthouse Keeper's Long and Very Patient Winter", "Frost Bell", "Thaw"}},
      {"Music/Élodie Marçay/Nuit légère",
       ".m4a",
       m4a,
       TagForm::Mp4,
       {"", "Élodie Marçay", "Nuit légère", "Chanson", "Élodie Marçay", "", "1"},
       {"L'été à Belœil", "Garçon de café", "Où va la rivière ?"},
       true},
      {"Music/Die Kleine Brücke/Übermut",
       ".flac",
       flac,
       TagForm::Xiph,
       {"", "Die Kleine Brücke", "Übermut", "Pop", "Jörg Weißbach"},
       {"Straßenbahn nach Süden", "Äpfel", "Größer als gestern"},
       true},
      {"Music/Lindenhof Quartet/Evening Pieces/Disc 1",
       ".flac",
       flac,
       TagForm::Xiph,
       {"", "Lindenhof Quartet", "Evening Pieces", "Classical", "Ottokar Brandeis", "", "1/2"},
       {"Quartet No. 1 in D: Allegro", "Quartet No. 1 in D: Largo"}},
      {"Music/Lindenhof Quartet/Evening Pieces/Disc 2",
       ".flac",
       flac,
       TagForm::Xiph,
       {"", "Lindenhof Quartet", "Evening Pieces", "Classical", "Ottokar Brandeis", "", "2/2"},
       {"Quartet No. 2 in G: Andante", "Quartet No. 2 in G: Presto"}},
      {"Music/Quiet Machines/Signal Path",
       ".wma",
       wma,
       TagForm::Asf,
       {"", "Quiet Machines", "Signal Path", "Electronic", "R. Oduya", "", "1"},
       {"Carrier Wave", "Ground Loop", "Half Duplex"},
       true},
      {"Music/The Tin Postmen/Letters",
       ".mp3",
       cbr,
       TagForm::Id3v1,
       {"", "The Tin Postmen", "Letters", "Rock"},
       {"Return to Sender's Gate", "Stamp Act"}},
      {"Music/Copper Vale/Old Roads",
       ".mp3",
       xing,
       TagForm::Ape,
       {"", "Copper Vale", "Old Roads", "Country", "M. Harrow"},
       {"Milestone", "Toll House"}},
      {"Music/Северный Пруд/Тихий двор",
       ".mp3",
       xing,
       TagForm::Id3v24,
       {"", "Северный Пруд", "Тихий двор", "Рок", "Аркадий Лесной"},
       {"Первый снег", "Фонарь у ворот"}},
      {"Music/Северный Пруд/Старые записи",
       ".mp3",
       cbr,
       TagForm::Id3v23,
       {"", "Северный Пруд", "Старые записи", "Рок", "Аркадий Лесной", "", "", "CP1251"},
       {"Песня о дороге", "Синий вечер"}},
      {"Music/Μαρίνα Αυγή/Γαλάζιο",
       ".m4a",
       m4a,
       TagForm::Mp4,
       {"", "Μαρίνα Αυγή", "Γαλάζιο", "Λαϊκά", "Νίκος Πελαγίδης"},
       {"Το καΐκι", "Άνοιξη στο νησί"}},
      {"Music/青い風船/夜明けの電車",
       ".mp3",
       xing,
       TagForm::Id3v23,
       {"", "青い風船", "夜明けの電車", "ポップ", "星野みどり"},
       {"はじまりの駅", "雨のち虹"}},
      {"Music/青い風船/昔の歌",
       ".mp3",
       cbr,
       TagForm::Id3v23,
       {"", "青い風船", "昔の歌", "ポップ", "星野みどり", "", "", "SHIFT_JIS"},
       {"夏祭りの夜", "小さな手紙"}},
      {"Music/云上茶馆/山间来信",
       ".wma",
       wma,
       TagForm::Asf,
       {"", "云上茶馆", "山间来信", "民谣", "林小舟"},
       {"竹林听雨", "月下独行"}},
      {"Music/云上茶馆/旧唱片",
       ".mp3",
       cbr,
       TagForm::Id3v24,
       {"", "云上茶馆", "旧唱片", "民谣", "林小舟", "", "", "GBK"},
       {"江边的晚风", "故乡的小路"}},
      {"Music/달빛정원/작은 별",
       ".flac",
       flac,
       TagForm::Xiph,
       {"", "달빛정원", "작은 별", "발라드", "한가온"},
       {"봄날의 편지", "밤하늘"}},
      {"Music/نسيم الوادي/ليالي الصيف",
       ".mp3",
       xing,
       TagForm::Id3v24,
       {"", "نسيم الوادي", "ليالي الصيف", "طرب", "سامر الحقل"},
       {"طريق البحر", "قمر بعيد"}},
      {"Music/גן העדרים/שירי ערב",
       ".m4a",
       m4a,
       TagForm::Mp4,
       {"", "גן העדרים", "שירי ערב", "עממי", "נעם אלוני"},
       {"רוח קלה"}},
      {"Music/ลมทะเล/ฟ้าหลังฝน",
       ".mp3",
       xing,
       TagForm::Id3v23,
       {"", "ลมทะเล", "ฟ้าหลังฝน", "ลูกทุ่ง", "ดวงดาว ใจดี"},
       {"เรือลำน้อย"}},
      {"Audiobooks/The Glass Orchard",
       ".m4b",
       m4a,
       TagForm::Mp4,
       {"", "Harriet Lowe", "The Glass Orchard", "Audiobook", "", "", "1"},
       {"Chapter One", "Chapter Two"}},
      {"Recordings/Demo",
       ".wav",
       wav,
       TagForm::WavId3v2,
       {"", "Amber Harbour", "Demo", "Folk", "Tilda Rowe", "", "1"},
       {"Kitchen Take"}},
      {"Recordings/Field",
       ".wav",
       wav,
       TagForm::WavInfo,
       {"", "Jonas Pell", "Field", "Ambient"},
       {"Harbour at Night"}},
      {"Videos",
       ".mp4",
       mp4,
       TagForm::Mp4,
       {"", "Quiet Machines", "Signal Path (Live)", "Electronic", "R. Oduya"},
       {"Carrier Wave (Live)"}},
      {"Videos",
       ".asf",
       "tone.asf",
       TagForm::Asf,
       {"", "Quiet Machines", "Signal Path (Live)", "Electronic", "R. Oduya"},
       {"Ground Loop (Live)"}},
      {"Ringtones",
       ".m4r",
       m4a,
       TagForm::Mp4,
       {"", "Amber Harbour", "Ringtones", "Folk"},
       {"Salt Road (Ringtone)"}},
      {"Store",
       ".m4p",
       m4a,
       TagForm::Mp4,
       {"", "Copper Vale", "Old Roads (Store Edition)", "Country", "M. Harrow"},
       {"Milestone (Bonus)"}},
  };
  return all;
}

/// Names that trip careless programs, folders that the indexer skips, and files without tags.
const std::vector<SampleSong>& singles() {
  static const std::vector<SampleSong> all = {
      {"Mixed/100% Pure #1.mp3", xing, TagForm::Id3v24, {"100% Pure #1", "Percent & Sons"}},
      {"Mixed/a%20b.mp3", cbr, TagForm::Id3v24, {"Not a blank", "Percent & Sons"}},
      {"Mixed/What's up? (50's \"Mix\").mp3", xing, TagForm::Id3v23, {"What's up?", "Query"}},
      {"Mixed/SHOUT.MP3", cbr, TagForm::Id3v23, {"Shout", "Upper Case"}},
      {"Mixed/Quiet.FlAc", flac, TagForm::Xiph, {"Quiet", "Mixed Case"}},
      {"Mixed/twice.mp3.mp3", cbr, TagForm::Id3v24, {"Its first extension is not the last"}},
      {"Mixed/no tags.mp3", cbr},
      {"Mixed/no tags.m4a", m4a},
      {"Recordings/memo.aac", "tone.aac"},
      {"Recordings/memo.wav", wav},
      {"Videos/holiday.mpg", "tone.mpg"},
      {"Videos/birthday.mpeg", "tone.mpeg"},
      {"Music/.hidden song.mp3", cbr, TagForm::Id3v24, {"Hidden file"}},
      {".backup/kept.mp3", cbr, TagForm::Id3v24, {"In a hidden folder", "Amber Harbour"}},
      {".Trash-1000/old.mp3", cbr, TagForm::Id3v24, {"In another hidden folder"}},
      {".TRASH/deleted.mp3", cbr, TagForm::Id3v24, {"Deleted"}},
      {"$RECYCLE.BIN/deleted.mp3", cbr, TagForm::Id3v24, {"Deleted"}},
  };
  return all;
}

std::string twoDigits(std::size_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

/// FAT allows no "?" in names.
std::string fileName(std::string title) {
  std::erase_if(title, [](char character) { return character == '?' || character == ':'; });
  while (title.ends_with(' ')) title.pop_back();
  return title;
}

void append(std::vector<SampleSong>& songs, const SampleAlbum& album) {
  const std::string year = std::to_string(1968 + 7 * (album.titles.front().size() % 8));
  for (std::size_t i = 0; i < album.titles.size(); ++i) {
    SongTags tags = album.common;
    tags.albumArtist = tags.artist;
    tags.year = year;
    tags.title = album.titles[i];
    tags.track = std::to_string(i + 1);
    if (album.form != TagForm::Id3v1 && album.form != TagForm::WavInfo)
      tags.track += "/" + std::to_string(album.titles.size());
    songs.push_back(
        {album.folder + "/" + twoDigits(i + 1) + " " + fileName(tags.title) + album.extension,
         album.seed, album.form, tags, album.cover && i == 0});
  }
}

}  // namespace

const std::vector<SampleSong>& sampleSongs() {
  static const std::vector<SampleSong> all = [] {
    std::vector<SampleSong> songs;
    for (const SampleAlbum& album : albums()) append(songs, album);
    songs.insert(songs.end(), singles().begin(), singles().end());
    return songs;
  }();
  return all;
}

}  // namespace orvel::stick
