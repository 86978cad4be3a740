#include "tools/stick/LegacyText.h"

#include <iconv.h>

#include <stdexcept>

namespace orvel::stick {
namespace {

class Converter {
 public:
  explicit Converter(const std::string& charset) : handle(iconv_open(charset.c_str(), "UTF-8")) {
    if (handle == reinterpret_cast<iconv_t>(-1))  // NOLINT(performance-no-int-to-ptr): its own mark
      throw std::invalid_argument("Unknown character set " + charset);
  }
  ~Converter() { iconv_close(handle); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// False if the character set lacks a character of `source`.
  bool convert(std::string source, std::string& target) {
    target.assign(4 * source.size() + 4, '\0');
    char* in = source.data();
    char* out = target.data();
    std::size_t inLeft = source.size();
    std::size_t outLeft = target.size();
    const bool exact = iconv(handle, &in, &inLeft, &out, &outLeft) == 0;
    target.resize(target.size() - outLeft);
    return exact;
  }

 private:
  iconv_t handle;
};

}  // namespace

std::string legacyText(const std::string& text, const std::string& charset) {
  std::string bytes;
  if (!Converter(charset).convert(text, bytes))
    throw std::invalid_argument(charset + " cannot write \"" + text + "\"");
  return bytes;
}

}  // namespace orvel::stick
