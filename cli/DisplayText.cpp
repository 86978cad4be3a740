#include "cli/DisplayText.h"

#include <cstdio>
#include <cwchar>
#include <vector>

#include "base/Utf8.h"

namespace orvel::cli {

namespace {

bool isControl(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// Line and paragraph separators, and marks that change the direction of text.
bool isLayout(char32_t code) {
  return code == 0x2028 || code == 0x2029 || code == 0x200E || code == 0x200F || code == 0x061C ||
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

void appendEscape(std::string& out, char32_t code) {
  switch (code) {
    case '\t':
      out += "\\t";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    default:
      break;
  }
  char text[16];
  std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(code));
  out += text;
}

std::string withEscapes(std::string_view text, bool doubleBackslashes) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const char32_t code = utf8::take(text).code;
    if (isControl(code) || isLayout(code)) {
      appendEscape(out, code);
    } else {
      utf8::append(out, code);
      if (code == '\\' && doubleBackslashes) out += '\\';
    }
  }
  return out;
}

std::size_t columnsOf(char32_t code) {
  const int width = wcwidth(static_cast<wchar_t>(code));
  return width < 0 ? 1 : static_cast<std::size_t>(width);
}

}  // namespace

std::string displayText(std::string_view text) {
  return withEscapes(text, false);
}

std::string displayCell(const browse::Cell& cell) {
  if (const auto* text = std::get_if<std::string_view>(&cell)) return displayText(*text);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  return "";
}

std::string escapedText(std::string_view text) {
  return withEscapes(text, true);
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) width += columnsOf(utf8::take(text).code);
  return width;
}

std::string elided(std::string_view text, std::size_t width, Elide part) {
  std::size_t excess = displayWidth(text);
  if (excess <= width) return std::string(text);
  if (width == 0) return "";
  std::vector<char32_t> codes;
  while (!text.empty()) codes.push_back(utf8::take(text).code);
  std::size_t begin = 0;
  std::size_t end = codes.size();
  for (++excess; excess > width;) {
    excess -= columnsOf(part == Elide::Start ? codes[begin++] : codes[--end]);
  }
  std::string out = part == Elide::Start ? "…" : "";
  for (std::size_t i = begin; i < end; ++i) utf8::append(out, codes[i]);
  if (part == Elide::End) out += "…";
  return out;
}

}  // namespace orvel::cli
