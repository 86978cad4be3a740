#include "playlists/reader/prepareParser.h"

#include <gio/gio.h>
#include <iconv.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "base/Descriptor.h"
#include "playlists/parsePlaylist.h"
#include "playlists/reader/handedFile.h"

namespace orvel {

namespace {

/// A list of each kind.
constexpr std::array<std::array<std::string_view, 2>, 5> kSamples = {{
    {"/a.m3u", "\xE4.mp3\n"},
    {"/a.m3u8", "a.mp3\n"},
    {"/a.pls", "[playlist]\nFile1=\xE4.mp3\n"},
    {"/a.asx", "<asx version=\"3.0\"><entry><ref href=\"a.mp3\"/></entry></asx>"},
    {"/a.wpl",
     "<?wpl version=\"1.0\"?><smil><body><seq><media src=\"a.mp3\"/></seq></body></smil>"},
}};

/// The encodings that lists name, for all regions that devices come from.
constexpr std::array kEncodings = {
    "ISO-8859-1",   "ISO-8859-2",   "ISO-8859-15",  "WINDOWS-1250", "WINDOWS-1251", "WINDOWS-1252",
    "WINDOWS-1253", "WINDOWS-1254", "WINDOWS-1255", "WINDOWS-1256", "WINDOWS-1257", "WINDOWS-1258",
    "WINDOWS-874",  "GB2312",       "GBK",          "BIG5",         "SHIFT_JIS",    "EUC-KR"};

std::string typeOfList() {
  const std::unique_ptr<char, decltype(&g_free)> type(
      g_content_type_guess("a.m3u8", nullptr, 0, nullptr), &g_free);
  return type.get();
}

const std::string& firstTypeOfList() {
  static const std::string first = typeOfList();
  return first;
}

void parseSample(const std::string& path, std::string_view content) {
  Descriptor file(memfd_create("orvel-sample", MFD_CLOEXEC));
  [[maybe_unused]] const ssize_t written = write(file.get(), content.data(), content.size());
  handedFile::hand(path, std::move(file));
  parsePlaylist(path, [](const char* /*uri*/) {});
}

GLogWriterOutput dropLine(GLogLevelFlags /*level*/, const GLogField* /*fields*/, gsize /*count*/,
                          gpointer /*data*/) {
  return G_LOG_WRITER_HANDLED;
}

}  // namespace

void prepareParser() {
  // Only GIO's own code is to run here, none of its plug-ins.
  setenv("GIO_USE_VFS", "local", 1);
  setenv("GIO_MODULE_DIR", "/dev/null", 1);
  // Lists with drive letters make GIO complain, which asks the system about the standard error.
  g_log_set_writer_func(dropLine, nullptr, nullptr);
  handedFile::install();
  for (const auto& [path, content] : kSamples) parseSample(std::string(path), content);
  // Never closed, which keeps the converters loaded.
  for (const char* encoding : kEncodings) {
    [[maybe_unused]] const iconv_t kept = iconv_open("UTF-8", encoding);
  }
  firstTypeOfList();
}

bool knowsFileTypes() {
  return typeOfList() == firstTypeOfList();
}

}  // namespace orvel
