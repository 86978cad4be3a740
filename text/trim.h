#pragma once

#include <string>

namespace orvel {

/// Cleans a text that came from a device for display and storage.
///
/// Returns valid UTF-8 without NUL and control characters: blanks of all scripts are taken off both
/// ends, each run of control characters inside becomes one space, each ill-formed part becomes
/// U+FFFD, an incomplete sequence at the very end is dropped, and after the first character other
/// than a leading NUL the text ends at the first NUL. Idempotent; changes neither case, width nor
/// normal form.
/// @param text    bytes, need not be NUL-ended; null gives an empty text
/// @param length  number of bytes that may be read
std::string trim(const char* text, unsigned length);

}  // namespace orvel
