#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvel::cli {

/// Texts from devices, made fit for people and programs. Every result is valid UTF-8; ill-formed
/// input shows as U+FFFD.

/// True when `text` is valid UTF-8.
bool isValidUtf8(std::string_view text);

/// Control characters and characters that reorder a line show as "\t", "\n", "\r" or "\uXXXX", so
/// that no device can steer a terminal.
std::string displayText(std::string_view text);

/// Like `displayText`, and reversible: a backslash becomes two.
std::string escapedText(std::string_view text);

/// The terminal columns that a text of `displayText` takes.
std::size_t displayWidth(std::string_view text);

/// Which part of a text that is too long gives way.
enum class Elide { Start, End };

/// A text of `displayText` cut to at most `width` columns, the cut shown as "…".
std::string elided(std::string_view text, std::size_t width, Elide part = Elide::End);

}  // namespace orvel::cli
