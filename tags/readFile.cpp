#include "tags/readFile.h"

#include <taglib/fileref.h>
#if TAGLIB_MAJOR_VERSION >= 2
#include <taglib/mp4itemfactory.h>
#endif

#include "tags/readPicture.h"

namespace orvel {

namespace {

/// TagLib 2 fills tables of the names in MP4 files at their first use, without a lock; this use is
/// guarded. `./dev test-taglib` looks for others.
void fillTables() {
#if TAGLIB_MAJOR_VERSION >= 2
  using TagLib::MP4::ItemFactory;
  [[maybe_unused]] static const bool areFilled =
      ItemFactory::instance()->itemFromProperty("TITLE", TagLib::String("any")).second.isValid();
#endif
}

TagResult readTags(TagStream& stream) {
  using Outcome = TagResult::Outcome;
  const TagLib::FileRef reference(&stream, true, TagLib::AudioProperties::Average);
  if (stream.interrupted()) return {Outcome::Interrupted};
  const bool hasTag = !reference.isNull() && reference.tag() != nullptr;
  if (stream.readFailed()) {
    return {Outcome::DeviceFailed, hasTag ? tagValuesOf(*reference.file()) : TagValues()};
  }
  if (reference.isNull()) return {Outcome::Unreadable};
  if (!hasTag) return {Outcome::Untagged};
  return {Outcome::Tagged, tagValuesOf(*reference.file())};
}

}  // namespace

TagResult readFile(TagStream& stream, ReadingGoal goal) {
  fillTables();
  return goal == ReadingGoal::Picture ? readPicture(stream) : readTags(stream);
}

}  // namespace orvel
