#include "text/sevenBitText.h"

#include <algorithm>
#include <span>

#include "base/Utf8.h"
#include "text/firstCharacter.h"

namespace orvel {

namespace {

/// The meaning of the bytes behind a switch.
enum class Codes { Ascii, HalfWidthKatakana, Japanese, Chinese };

struct Switch {
  std::string_view bytes;
  Codes codes;
};

constexpr Switch kEscapes[] = {{"\x1B$B", Codes::Japanese},
                               {"\x1B$@", Codes::Japanese},
                               {"\x1B(I", Codes::HalfWidthKatakana},
                               {"\x1B(B", Codes::Ascii},
                               {"\x1B(J", Codes::Ascii}};
constexpr Switch kTildes[] = {{"~{", Codes::Chinese}, {"~}", Codes::Ascii}};

/// Takes one character beyond ASCII off `rest`. The eight-bit encodings have the same codes with
/// the high bit set.
Decoded take(Codes codes, std::string_view& rest) {
  std::string high(rest.substr(0, codes == Codes::HalfWidthKatakana ? 1 : 2));
  rest.remove_prefix(high.size());
  for (char& byte : high) byte = static_cast<char>(byte | 0x80);
  if (codes == Codes::HalfWidthKatakana) return firstCharacter(Encoding::ShiftJis, high);
  return firstCharacter(codes == Codes::Japanese ? Encoding::EucJp : Encoding::Gb18030, high);
}

/// Converts a text with these switches; nothing when a code has no meaning or none is used.
std::optional<std::string> switchedText(std::string_view rest, std::span<const Switch> switches) {
  std::string out;
  Codes codes = Codes::Ascii;
  bool used = false;
  while (!rest.empty()) {
    const auto found = std::ranges::find_if(
        switches, [&](const Switch& entry) { return rest.starts_with(entry.bytes); });
    if (found != switches.end()) {
      codes = found->codes;
      rest.remove_prefix(found->bytes.size());
    } else if (codes == Codes::Ascii) {
      out += rest.front();
      rest.remove_prefix(1);
    } else {
      const Decoded character = take(codes, rest);
      if (character.cut) break;
      if (!character.valid) return std::nullopt;
      utf8::append(out, character.code);
      used = true;
    }
  }
  return used ? std::optional(out) : std::nullopt;
}

}  // namespace

std::optional<std::string> sevenBitText(std::string_view bytes) {
  const bool ascii = std::ranges::all_of(bytes, [](char c) { return (c & 0x80) == 0; });
  if (!ascii) return std::nullopt;
  if (bytes.find("\x1B$") != std::string_view::npos) return switchedText(bytes, kEscapes);
  if (bytes.find("~{") != std::string_view::npos) return switchedText(bytes, kTildes);
  return std::nullopt;
}

}  // namespace orvel
