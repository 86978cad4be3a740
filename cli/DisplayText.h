#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "browse/MediaDatabase.h"

namespace orvel::cli {

/// Makes texts from devices safe to show to people and programs. Every result is valid UTF-8;
/// ill-formed input becomes U+FFFD.

/// Escapes control characters and characters that reorder a line as "\t", "\n", "\r" or "\uXXXX",
/// so that no device can control a terminal.
std::string displayText(std::string_view text);

/// A cell of a database for people; empty for NULL.
std::string displayCell(const browse::Cell& cell);

/// Like `displayText`, and reversible: a backslash becomes two.
std::string escapedText(std::string_view text);

/// The width in terminal columns of a result of `displayText`.
std::size_t displayWidth(std::string_view text);

/// The end at which a long text is cut.
enum class Elide { Start, End };

/// Cuts a result of `displayText` to at most `width` columns and marks the cut with "…".
std::string elided(std::string_view text, std::size_t width, Elide part = Elide::End);

}  // namespace orvel::cli
