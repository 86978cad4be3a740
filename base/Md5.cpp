#include "base/Md5.h"

#include <boost/make_shared.hpp>

#include "base/RecentDigests.h"
#include "base/trackKey.h"

namespace orvel {

namespace {

const boost::shared_ptr<const std::string>& emptyText() {
  static const auto text = boost::make_shared<const std::string>();
  return text;
}

}  // namespace

Md5::Md5() : sharedText(emptyText()) {}

Md5::Md5(Md5Kind kind, std::string_view bytes)
    : sharedText(kind == Md5Kind::Track ? makeDigest(kind, trackKey(bytes))
                                        : RecentDigests::ofThread().get(kind, bytes)),
      identifiedKind(kind) {}

}  // namespace orvel
