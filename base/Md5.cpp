#include "base/Md5.h"

#include <glib.h>

#include <array>
#include <boost/make_shared.hpp>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/Utf8.h"

namespace orvel {

namespace {

struct GFree {
  void operator()(char* text) const { g_free(text); }
};
using GText = std::unique_ptr<char, GFree>;

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

GText checked(char* text) {
  if (text == nullptr) throw std::bad_alloc();
  return GText(text);
}

/// True for characters that neither compose with any other nor decompose (NFC_Quick_Check of the
/// Unicode standard, annex 15): Latin, Greek, Cyrillic, kana, Han and Hangul, of which most names
/// are made.
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

/// The general way is many times as costly as the look that most names need.
std::string composed(std::string utf8) {
  if (isComposed(utf8)) return utf8;
  return checked(g_utf8_normalize(utf8.c_str(), -1, G_NORMALIZE_NFC)).get();
}

std::string foldUnicode(std::string text) {
  if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == 0) {
    text = checked(g_convert(text.data(), static_cast<gssize>(text.size()), "UTF-8", "ISO-8859-1",
                             nullptr, nullptr, nullptr))
               .get();
  }
  return composed(checked(g_utf8_casefold(composed(std::move(text)).c_str(), -1)).get());
}

std::string fold(std::string text) {
  if (!isAscii(text)) return foldUnicode(std::move(text));
  for (char& c : text) c = g_ascii_tolower(c);
  return text;
}

boost::shared_ptr<const std::string> digest(Md5Kind kind, std::string_view bytes) {
  return boost::make_shared<const std::string>(
      std::to_string(static_cast<std::uint32_t>(kind)).append(md5Hex(bytes)));
}

/// Remembers what the current thread digested last: neighbouring songs share artist, album, genre,
/// composer and folder, and sharing one text lets the song saver write each name once per block.
class RecentDigests {
 public:
  boost::shared_ptr<const std::string> get(Md5Kind kind, std::string_view bytes) {
    const std::size_t hash =
        std::hash<std::string_view>()(bytes) * 31 + static_cast<std::size_t>(kind);
    Entry& entry = entries[hash % entries.size()];
    if (!entry.text || entry.kind != kind || entry.bytes != bytes) {
      auto text = digest(kind, bytes);
      entry.text.reset();  // a failing allocation below must not leave an entry that lies
      entry.bytes = bytes;
      entry.kind = kind;
      entry.text = std::move(text);
    }
    return entry.text;
  }

 private:
  struct Entry {
    Md5Kind kind = Md5Kind::Track;
    std::string bytes;
    boost::shared_ptr<const std::string> text;
  };
  std::array<Entry, 128> entries;
};

/// Longer texts are rare and would only make every thread's memory of digests large.
constexpr std::size_t kLongestRemembered = 256;

boost::shared_ptr<const std::string> sharedDigest(Md5Kind kind, std::string_view bytes) {
  if (bytes.size() > kLongestRemembered) return digest(kind, bytes);
  static thread_local RecentDigests recent;
  return recent.get(kind, bytes);
}

const boost::shared_ptr<const std::string>& emptyText() {
  static const auto text = boost::make_shared<const std::string>();
  return text;
}

}  // namespace

Md5::Md5() : sharedText(emptyText()) {}

Md5::Md5(Md5Kind kind, std::string_view bytes)
    : sharedText(kind == Md5Kind::Track ? digest(kind, trackKey(bytes))
                                        : sharedDigest(kind, bytes)),
      identifiedKind(kind) {}

std::string md5Hex(std::string_view bytes) {
  return checked(g_compute_checksum_for_data(
                     G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(bytes.data()), bytes.size()))
      .get();
}

std::string trackKey(std::string_view path) {
  // Neighbouring songs lie in one folder, and folding is costly: what the last folder came to is
  // kept. A "/" neither composes with what stands beside it nor changes case.
  static thread_local std::string lastFolder;
  static thread_local std::string lastFolderKey;
  const std::size_t slash = path.rfind('/');
  const std::string_view name = path.substr(slash == std::string_view::npos ? 0 : slash + 1);
  if (slash == std::string_view::npos || name.empty() || name == "." || name == "..") {
    return fold(resolveLexically(path));
  }
  const std::string_view folder = path.substr(0, slash);
  if (folder != lastFolder) {
    std::string key = fold(resolveLexically(folder));
    lastFolder.clear();  // a failing allocation below must not leave a pair that lies
    lastFolderKey = std::move(key);
    lastFolder = folder;
  }
  const std::string nameKey = fold(std::string(name));
  return lastFolderKey.empty() ? nameKey : lastFolderKey + "/" + nameKey;
}

}  // namespace orvel
