#pragma once

#include <array>
#include <boost/shared_ptr.hpp>
#include <string>
#include <string_view>

#include "base/Md5.h"

namespace orvel {

/// The text of an identifier: the digit of its kind, then the MD5 of `bytes` in hex.
boost::shared_ptr<const std::string> makeDigest(Md5Kind kind, std::string_view bytes);

/// A small cache of identifier texts. Neighbouring songs share artist, album, genre, composer and
/// folder; sharing one text lets the song saver write each name once per block. Used by one thread.
class RecentDigests {
 public:
  /// The cached text for these bytes, or a new one that replaces an older entry. Returns texts over
  /// 256 bytes uncached: they are rare and would bloat the cache of every thread.
  boost::shared_ptr<const std::string> get(Md5Kind kind, std::string_view bytes);

  /// The cache of the calling thread.
  static RecentDigests& ofThread();

 private:
  struct Entry {
    Md5Kind kind = Md5Kind::Track;
    std::string bytes;
    boost::shared_ptr<const std::string> text;
  };
  std::array<Entry, 128> entries;
};

}  // namespace orvel
