#pragma once

namespace orvel {

/// Number of different printable digits.
constexpr unsigned printableBase = 90;

/// Value of a digit of the generated tables: the printable characters from '#' on without '?' and
/// the backslash, so that a table is a plain string literal.
constexpr unsigned printableDigit(char digit) {
  return static_cast<unsigned>(digit - '#') - (digit > '?') - (digit > '\\');
}

}  // namespace orvel
