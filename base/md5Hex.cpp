#include "base/md5Hex.h"

#include "base/GlibText.h"

namespace orvel {

std::string md5Hex(std::string_view bytes) {
  return ownGlibText(g_compute_checksum_for_data(G_CHECKSUM_MD5,
                                                 reinterpret_cast<const guchar*>(bytes.data()),
                                                 bytes.size()))
      .get();
}

}  // namespace orvel
