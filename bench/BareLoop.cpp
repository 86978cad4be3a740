// The least work of a single-threaded indexer with unmodified TagLib: walks a folder, opens every
// file by name with its audio properties, and takes the seven tag values. Prints the numbers of
// files and of bytes of text. With --names it only walks.
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace {

std::size_t bytesOf(const TagLib::String& text) {
  return text.to8Bit(true).size();
}

std::size_t readValues(const TagLib::FileRef& file) {
  const TagLib::Tag& tag = *file.tag();
  const TagLib::PropertyMap properties = file.file()->properties();
  return bytesOf(tag.title()) + bytesOf(tag.artist()) + bytesOf(tag.album()) +
         bytesOf(tag.genre()) + tag.track() + bytesOf(properties["COMPOSER"].toString()) +
         bytesOf(properties["DISCNUMBER"].toString());
}

}  // namespace

int main(int argc, char** argv) {
  const bool namesOnly = argc == 3 && std::string_view(argv[1]) == "--names";
  if (argc != 2 && !namesOnly) {
    std::fprintf(stderr, "usage: %s [--names] FOLDER\n", argv[0]);
    return 2;
  }
  std::size_t files = 0;
  std::size_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[argc - 1])) {
    if (!entry.is_regular_file()) continue;
    if (namesOnly) {
      files += entry.last_write_time().time_since_epoch().count() != 0 ? 1 : 0;
      continue;
    }
    const TagLib::FileRef file(entry.path().c_str(), true, TagLib::AudioProperties::Average);
    if (file.isNull()) continue;
    bytes += readValues(file);
    ++files;
  }
  std::printf("%zu files, %zu\n", files, bytes);
  return 0;
}
