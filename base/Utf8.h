#pragma once

#include <cassert>
#include <cstddef>
#include <string>
#include <string_view>

namespace orvel::utf8 {

constexpr char32_t kReplacement = 0xFFFD;

/// One character at the start of a text.
struct Character {
  char32_t code = kReplacement;
  unsigned size = 1;   ///< in bytes
  bool valid = false;  ///< false for an ill-formed part; `code` is U+FFFD then
};

/// Reads the first character of `text`, which must not be empty. Reports each ill-formed "maximal
/// subpart" (the Unicode standard, chapter 3.9) as one U+FFFD.
inline Character first(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  assert(!text.empty());
  const unsigned lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {};
  const unsigned length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  // The range of the second byte excludes overlong forms, surrogates and codes above U+10FFFF.
  unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t code = lead & (0xFFU >> (length + 1));
  for (unsigned i = 1; i < length; ++i) {
    if (i == text.size() || byte(i) < low || byte(i) > high) return {kReplacement, i, false};
    code = code << 6 | (byte(i) & 0x3F);
    low = 0x80;
    high = 0xBF;
  }
  return {code, length, true};
}

/// Removes the first character of `text`, which must not be empty, and returns it.
inline Character take(std::string_view& text) {
  const Character character = first(text);
  text.remove_prefix(character.size);
  return character;
}

/// True when `text` is well-formed.
inline bool isValid(std::string_view text) {
  while (!text.empty()) {
    if (!take(text).valid) return false;
  }
  return true;
}

/// Appends a Unicode scalar value.
inline void append(std::string& out, char32_t code) {
  const auto tail = [&](unsigned shift) {
    out += static_cast<char>(0x80 | (code >> shift & 0x3F));
  };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
    tail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | code >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | code >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace orvel::utf8
