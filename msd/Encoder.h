#pragma once

#include <taglib/tag.h>

#include <string>

namespace orvel {

struct MetaDataInfo;

/// Makes song records with texts in UTF-8 from tags. One instance per process; stateless, so any
/// thread may use it.
class Encoder {
 public:
  static Encoder& instance();

  /// Returns a new record, owned by the caller; never null. Takes composer, disc number and details
  /// from a `SongTag`; any other tag has none. Keeps Unicode texts and guesses the encoding of
  /// texts that the tag declares as ISO-8859-1.
  MetaDataInfo* guessAndConvert(const std::string& path, const std::string& mountPoint,
                                long lastModified, const TagLib::Tag* tag) const;

 private:
  Encoder() = default;
};

}  // namespace orvel
