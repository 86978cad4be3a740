#include "base/RecentDigests.h"

#include <boost/make_shared.hpp>
#include <functional>
#include <utility>

#include "base/md5Hex.h"

namespace orvel {

namespace {
constexpr std::size_t kLongestCached = 256;
}  // namespace

boost::shared_ptr<const std::string> makeDigest(Md5Kind kind, std::string_view bytes) {
  return boost::make_shared<const std::string>(
      std::to_string(static_cast<std::uint32_t>(kind)).append(md5Hex(bytes)));
}

boost::shared_ptr<const std::string> RecentDigests::get(Md5Kind kind, std::string_view bytes) {
  if (bytes.size() > kLongestCached) return makeDigest(kind, bytes);
  const std::size_t hash =
      std::hash<std::string_view>()(bytes) * 31 + static_cast<std::size_t>(kind);
  Entry& entry = entries[hash % entries.size()];
  if (!entry.text || entry.kind != kind || entry.bytes != bytes) {
    auto text = makeDigest(kind, bytes);
    entry.text.reset();  // a failing allocation below must not leave a mismatched entry
    entry.bytes = bytes;
    entry.kind = kind;
    entry.text = std::move(text);
  }
  return entry.text;
}

RecentDigests& RecentDigests::ofThread() {
  static thread_local RecentDigests recent;
  return recent;
}

}  // namespace orvel
