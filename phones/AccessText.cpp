#include "phones/AccessText.h"

#include "base/Utf8.h"
#include "phones/Access.h"

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
