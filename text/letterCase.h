#pragma once

namespace orvel {

enum class LetterCase : unsigned char { None, Lower, Upper };

/// Maps the Latin, Greek and Cyrillic letters of the eight-bit encodings to lower case and leaves
/// other characters unchanged. The dotted capital I of Turkish has no single counterpart and stays.
constexpr char32_t lowerCase(char32_t c) {
  const auto within = [c](char32_t low, char32_t high) { return c >= low && c <= high; };
  if (within('A', 'Z')) return c + 0x20;
  if (c < 0xC0) return c;
  if (within(0xC0, 0xDE)) return c == 0xD7 ? c : c + 0x20;
  if (within(0x100, 0x17E)) {
    if (c == 0x130 || c == 0x131 || c == 0x138 || c == 0x149) return c;
    if (c == 0x178) return 0xFF;
    const bool evenIsUpper = c < 0x138 || within(0x14A, 0x177);
    return (c % 2 == 0) == evenIsUpper ? c + 1 : c;
  }
  switch (c) {
    case 0x1A0:
    case 0x1AF:
    case 0x218:
    case 0x21A:
    case 0x490:
      return c + 1;
    case 0x386:
      return 0x3AC;
    case 0x38C:
      return 0x3CC;
    case 0x38E:
    case 0x38F:
      return c + 0x3F;
    default:
      break;
  }
  if (within(0x388, 0x38A)) return c + 0x25;
  if (within(0x391, 0x3AB) || within(0x410, 0x42F)) return c + 0x20;
  return within(0x400, 0x40F) ? c + 0x50 : c;
}

/// The case of a letter that `lowerCase` knows; None for all others.
constexpr LetterCase letterCase(char32_t c) {
  if (c == 0x130 || lowerCase(c) != c) return LetterCase::Upper;
  const bool lower = (c >= 'a' && c <= 'z') || (c >= 0xDF && c <= 0x24F && c != 0xF7) ||
                     (c >= 0x3AC && c <= 0x3CE) || (c >= 0x430 && c <= 0x45F) || c == 0x491;
  return lower ? LetterCase::Lower : LetterCase::None;
}

}  // namespace orvel
