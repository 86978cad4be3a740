#include "base/trackKey.h"

#include <utility>
#include <vector>

#include "base/GlibText.h"
#include "base/Utf8.h"

namespace orvel {

namespace {

std::string resolveLexically(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.push_back(part);
    } else if (!parts.empty()) {
      parts.pop_back();
    }
  }
  std::string joined;
  for (const std::string_view part : parts) {
    if (!joined.empty()) joined += '/';
    joined += part;
  }
  return joined;
}

bool isAscii(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

/// True for characters that neither compose with any other nor decompose (NFC_Quick_Check of the
/// Unicode standard, annex 15). Covers most names: Latin, Greek, Cyrillic, kana, Han and Hangul.
constexpr bool standsAlone(char32_t c) {
  return c < 0x300 || (c >= 0x388 && c <= 0x482) || (c >= 0x3041 && c <= 0x3096) ||
         (c >= 0x30A1 && c <= 0x30FA) || (c >= 0x3400 && c <= 0x4DBF) ||
         (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xAC00 && c <= 0xD7A3);
}

bool isComposed(std::string_view utf8) {
  while (!utf8.empty()) {
    if (!standsAlone(utf8::take(utf8).code)) return false;
  }
  return true;
}

/// Checks first, because normalising costs many times as much and few names need it.
std::string composed(std::string utf8) {
  if (isComposed(utf8)) return utf8;
  return ownGlibText(g_utf8_normalize(utf8.c_str(), -1, G_NORMALIZE_NFC)).get();
}

std::string foldUnicode(std::string text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == 0) {
    text = ownGlibText(g_convert(text.data(), static_cast<gssize>(text.size()), "UTF-8",
                                 "ISO-8859-1", nullptr, nullptr, nullptr))
               .get();
  }
  return composed(ownGlibText(g_utf8_casefold(composed(std::move(text)).c_str(), -1)).get());
}

std::string fold(std::string text) {
  if (!isAscii(text)) return foldUnicode(std::move(text));
  for (char& c : text) c = g_ascii_tolower(c);
  return text;
}

/// Remembers the last folder's key: folding is costly, and neighbouring songs share a folder.
class LastFolder {
 public:
  const std::string& keyOf(std::string_view folder) {
    if (folder != path) {
      std::string folded = fold(resolveLexically(folder));
      path.clear();  // a failing allocation below must not leave a mismatched pair
      key = std::move(folded);
      path = folder;
    }
    return key;
  }

 private:
  std::string path;
  std::string key;
};

}  // namespace

std::string trackKey(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view name = path.substr(slash == std::string_view::npos ? 0 : slash + 1);
  if (slash == std::string_view::npos || name.empty() || name == "." || name == "..") {
    return fold(resolveLexically(path));
  }
  // Folder and name can be folded apart: "/" composes with no character and has no case.
  static thread_local LastFolder lastFolder;
  const std::string& folderKey = lastFolder.keyOf(path.substr(0, slash));
  const std::string nameKey = fold(std::string(name));
  return folderKey.empty() ? nameKey : folderKey + "/" + nameKey;
}

}  // namespace orvel
