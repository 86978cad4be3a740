#include "platform/device_access/AccessText.h"

#include "platform/common/Utf8.h"
#include "platform/device_access/Access.h"

namespace orvel {

std::string accessText(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  std::string result;
  while (!text.empty()) {
    std::string character;
    utf8::append(character, utf8::take(text).code);
    if (result.size() + character.size() >= kAccessTextBytes) break;
    result += character;
  }
  return result;
}

}  // namespace orvel
