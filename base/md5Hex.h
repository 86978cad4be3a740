#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// The 32 lower-case hex digits of the MD5 (RFC 1321) of `bytes`. Any thread.
std::string md5Hex(std::string_view bytes);

}  // namespace orvel
