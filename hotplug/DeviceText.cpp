#include "hotplug/DeviceText.h"

#include <glib.h>

#include "base/Utf8.h"

namespace orvel::hotplug {

namespace {

constexpr std::size_t kShownCharacters = 128;

bool isEscape(std::string_view text) {
  return text.size() >= 4 && text[0] == '\\' && text[1] == 'x' && g_ascii_isxdigit(text[2]) &&
         g_ascii_isxdigit(text[3]);
}

}  // namespace

std::string shownText(std::string_view text) {
  std::string shown;
  for (std::size_t count = 0; !text.empty() && count < kShownCharacters; ++count) {
    const char32_t code = utf8::take(text).code;
    if (g_unichar_isspace(code)) {
      shown += ' ';
    } else if (g_unichar_isprint(code)) {
      utf8::append(shown, code);
    }
  }
  const std::size_t begin = shown.find_first_not_of(' ');
  return begin == std::string::npos ? ""
                                    : shown.substr(begin, shown.find_last_not_of(' ') - begin + 1);
}

std::string unescapedProperty(std::string_view text) {
  std::string plain;
  while (!text.empty()) {
    const bool escaped = isEscape(text);
    plain +=
        escaped
            ? static_cast<char>(g_ascii_xdigit_value(text[2]) * 16 + g_ascii_xdigit_value(text[3]))
            : text[0];
    text.remove_prefix(escaped ? 4 : 1);
  }
  return plain;
}

}  // namespace orvel::hotplug
