#pragma once

namespace orvel {

/// The number of different printable digits.
constexpr unsigned kPrintableBase = 90;

/// The value of a digit of the generated tables. The digits are the printable characters from '#'
/// on except '?' and the backslash, so that a table is a plain string literal.
constexpr unsigned printableDigit(char digit) {
  return static_cast<unsigned>(digit - '#') - (digit > '?') - (digit > '\\');
}

}  // namespace orvel
