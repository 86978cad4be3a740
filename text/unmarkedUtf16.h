#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// The order of the bytes in the units of UTF-16.
enum class ByteOrder { Little, Big };

/// Recognises a text in UTF-16 without a byte order mark by its bytes: NULs and control characters
/// stand where the upper halves of its characters are. Nothing when the bytes could be another
/// text.
std::optional<ByteOrder> unmarkedUtf16(std::string_view bytes);

/// Converts UTF-16 to UTF-8; nothing when the bytes stand for characters that hardly occur in tags.
/// Meant for the texts beside one that `unmarkedUtf16` recognises.
std::optional<std::string> utf16Text(std::string_view bytes, ByteOrder order);

}  // namespace orvel
