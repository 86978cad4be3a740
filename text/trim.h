#pragma once

#include <string>

namespace orvel {

/// Cleans a text from a device for display and storage.
///
/// Returns valid UTF-8 without NULs and control characters. Skips leading NULs and ends the text at
/// the next one; removes blanks of all scripts at both ends; turns each run of control characters
/// inside into one space and each ill-formed part into U+FFFD; drops an incomplete sequence at the
/// very end. Keeps case, width and normal form. Idempotent.
/// @param text    need not be NUL-ended; null gives an empty text
/// @param length  in bytes
std::string trim(const char* text, unsigned length);

}  // namespace orvel
