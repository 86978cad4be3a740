#include "text/trim.h"

#include <algorithm>
#include <string_view>

#include "base/Utf8.h"

namespace orvel {

namespace {

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029;
}

/// Blanks of all scripts, and the zero-width and direction marks that are useless at an end.
bool isBlank(char32_t c) {
  return isControl(c) || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200F) ||
         c == 0x202F || c == 0x205F || c == 0x2060 || c == 0x3000 || c == 0xFEFF;
}

/// Cuts padding: leading NULs, and everything from the next NUL on, which may also be the rest of
/// an older, longer text.
std::string_view withoutPadding(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of('\0'), bytes.size()));
  return bytes.substr(0, bytes.find('\0'));
}

}  // namespace

std::string trim(const char* text, unsigned length) {
  if (text == nullptr) return {};
  std::string_view rest = withoutPadding({text, length});
  std::string out;
  out.reserve(rest.size());
  std::size_t end = 0;  // of the last character worth keeping
  bool inControls = false;
  while (!rest.empty()) {
    const utf8::Character character = utf8::take(rest);
    if (out.empty() && isBlank(character.code)) continue;
    const bool control = isControl(character.code);
    if (!control) {
      utf8::append(out, character.code);
    } else if (!inControls) {
      out += ' ';
    }
    inControls = control;
    // U+FFFD at the end is a sequence that was cut off there.
    if (!isBlank(character.code) && character.code != utf8::kReplacement) end = out.size();
  }
  out.resize(end);
  return out;
}

}  // namespace orvel
