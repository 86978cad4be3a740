#include "tests/endtoend/Song.h"

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <filesystem>
#include <stdexcept>

namespace orvel::test {

namespace {

TagLib::String unicode(const std::string& utf8) {
  return {utf8, TagLib::String::UTF8};
}

}  // namespace

void writeSong(const std::string& path, const SongTexts& texts) {
  const std::filesystem::path target(path);
  const std::string extension = target.extension().string();
  std::filesystem::create_directories(target.parent_path());
  std::filesystem::copy_file(
      ORVEL_SEEDS + (extension == ".mp3" ? std::string("/cbr.mp3") : "/tone" + extension), target,
      std::filesystem::copy_options::overwrite_existing);
  std::filesystem::permissions(target, std::filesystem::perms::owner_write,
                               std::filesystem::perm_options::add);
  TagLib::FileRef file(path.c_str());
  file.tag()->setTitle(unicode(texts.title));
  file.tag()->setArtist(unicode(texts.artist));
  file.tag()->setAlbum(unicode(texts.album));
  file.tag()->setGenre(unicode(texts.genre));
  if (!file.save()) throw std::runtime_error("cannot write tags into " + path);
}

}  // namespace orvel::test
