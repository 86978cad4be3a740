#pragma once

#include <taglib/tag.h>

#include <string>

namespace orvel {

struct MetaDataInfo;

/// Turns a file's tag into a song record with texts in UTF-8. One instance per process, without
/// state; any thread.
class Encoder {
 public:
  static Encoder& instance();

  /// Returns a new record for every tag, owned by the caller. Composer and disc number come from a
  /// `SongTag`; any other tag has none. Texts that the tag holds as Unicode pass unchanged, texts
  /// claimed as ISO-8859-1 are guessed.
  MetaDataInfo* guessAndConvert(const std::string& path, const std::string& mountPoint,
                                long lastModified, const TagLib::Tag* tag) const;

 private:
  Encoder() = default;
};

}  // namespace orvel
