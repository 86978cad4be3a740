#include "bench/text/Uchardet.h"

#include <iconv.h>
#include <uchardet/uchardet.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

namespace orvel {
namespace {

std::array<const TrackText*, 5> textsOf(const TrackRecord& track) {
  return {&track.title, &track.artist, &track.album, &track.genre, &track.composer};
}

bool isOpen(const TrackText& text) {
  return text.length > 0 && std::strcmp(text.encoding, "UTF-8") != 0;
}

std::string convert(iconv_t converter, const TrackText& text) {
  std::string out(text.length * 4UL, '\0');
  char* from = text.bytes;
  char* to = out.data();
  size_t fromLeft = text.length, toLeft = out.size();
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  iconv(converter, &from, &fromLeft, &to, &toLeft);
  iconv(converter, nullptr, nullptr, &to, &toLeft);  // flush a pending character
  out.resize(out.size() - toLeft);
  return out;
}

}  // namespace

std::string uchardetEncoding(const TrackRecord& track) {
  thread_local const std::unique_ptr<struct uchardet, decltype(&uchardet_delete)> detector(
      uchardet_new(), uchardet_delete);
  uchardet_reset(detector.get());
  for (const TrackText* text : textsOf(track)) {
    if (!isOpen(*text)) continue;
    uchardet_handle_data(detector.get(), text->bytes, text->length);
    uchardet_handle_data(detector.get(), "\n", 1);
  }
  uchardet_data_end(detector.get());
  return uchardet_get_charset(detector.get());
}

std::string textsRead(const TrackRecord& track, const std::string& encoding) {
  const bool known = !encoding.empty() && encoding != "ASCII";
  iconv_t converter = iconv_open("UTF-8", known ? encoding.c_str() : "WINDOWS-1252");
  if (reinterpret_cast<std::intptr_t>(converter) == -1)
    converter = iconv_open("UTF-8", "WINDOWS-1252");
  std::string out;
  for (const TrackText* text : textsOf(track)) {
    if (text != &track.title) out += '\t';
    if (text->length == 0) continue;
    out += isOpen(*text) ? convert(converter, *text) : std::string(text->bytes, text->length);
  }
  iconv_close(converter);
  return out;
}

}  // namespace orvel
