#include "service/BusText.h"

#include "base/Utf8.h"

namespace orvel::service {

std::string busText(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  while (!text.empty()) utf8::append(valid, utf8::take(text).code);
  return valid;
}

BusTexts::BusTexts(const std::vector<std::string>& originals) {
  for (const std::string& original : originals) texts.push_back(busText(original));
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  pointers.push_back(nullptr);
}

}  // namespace orvel::service
