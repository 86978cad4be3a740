#pragma once

#include <string_view>

namespace orvel {

/// The commonest Mandarin reading of a Han character: pinyin in lower-case ASCII without tone.
/// Empty for characters outside U+4E00..U+9FFF and those without a known reading.
std::string_view pinyin(char32_t character);

}  // namespace orvel
