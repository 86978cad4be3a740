#include "text/repeatedUtf8.h"

#include "base/Utf8.h"
#include "text/Encoding.h"

namespace orvel {

namespace {

constexpr int kMostRepetitions = 2;

/// The byte that stands for a character in windows-1252, or in ISO-8859-1 if only that has it.
std::optional<char> westernByte(char32_t code) {
  if (code <= 0xFF) return static_cast<char>(code);
  const std::size_t place = code <= 0xFFFF
                                ? upperHalf(Encoding::Windows1252).find(static_cast<char16_t>(code))
                                : std::u16string_view::npos;
  if (place == std::u16string_view::npos) return std::nullopt;
  return static_cast<char>(0x80 + place);
}

/// Undoes one encoding; nothing when the result is not UTF-8 with characters beyond ASCII.
std::optional<std::string> decodedOnce(std::string_view text) {
  std::string bytes;
  bool ascii = true;
  while (!text.empty()) {
    const utf8::Character character = utf8::take(text);
    const std::optional<char> byte = character.valid ? westernByte(character.code) : std::nullopt;
    if (!byte) return std::nullopt;
    ascii = ascii && character.code < 0x80;
    bytes += *byte;
  }
  if (ascii || !utf8::isValid(bytes)) return std::nullopt;
  return bytes;
}

}  // namespace

std::optional<std::string> repeatedUtf8(std::string_view bytes) {
  std::optional<std::string> text = decodedOnce(bytes);
  for (int i = 1; text && i < kMostRepetitions; ++i) {
    std::optional<std::string> earlier = decodedOnce(*text);
    if (!earlier) break;
    text = std::move(earlier);
  }
  return text;
}

}  // namespace orvel
