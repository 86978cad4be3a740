#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvel::service {

/// A copy of `text` that is valid UTF-8, as all texts on the bus are; ill-formed parts become
/// U+FFFD.
std::string busText(std::string_view text);

/// Texts as GLib takes them: valid UTF-8, ended by null.
class BusTexts {
 public:
  explicit BusTexts(const std::vector<std::string>& originals);
  BusTexts(const BusTexts&) = delete;
  BusTexts& operator=(const BusTexts&) = delete;

  [[nodiscard]] const char* const* get() const { return pointers.data(); }

 private:
  std::vector<std::string> texts;
  std::vector<const char*> pointers;
};

}  // namespace orvel::service
