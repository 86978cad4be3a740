#include "tests/hostile/Containers.h"

#include <zlib.h>

#include <algorithm>

namespace orvel::test {

std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

std::string bigEndian(std::uint64_t number, int bytes) {
  std::string text = littleEndian(number, bytes);
  std::reverse(text.begin(), text.end());
  return text;
}

std::string littleEndian(std::uint64_t number, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(number >> (8 * i) & 0xFFU);
  return text;
}

std::string synchsafe(std::uint64_t number) {
  return {static_cast<char>(number >> 21U & 127U), static_cast<char>(number >> 14U & 127U),
          static_cast<char>(number >> 7U & 127U), static_cast<char>(number & 127U)};
}

std::string id3v2Frame(const std::string& id, const std::string& data, bool isCompressed) {
  const std::string length = isCompressed ? synchsafe(0xFFFFFFF) : "";
  return id + synchsafe(length.size() + data.size()) + '\0' + (isCompressed ? '\x09' : '\0') +
         length + data;
}

std::string id3v2Chapter(const std::string& frames) {
  return zeros(18) + frames;  // an empty name, four times, and what it holds
}

std::string id3v2Tag(const std::string& frames, char version) {
  return std::string("ID3") + version + zeros(2) + synchsafe(frames.size()) + frames;
}

std::string deflated(const std::string& data) {
  uLongf size = compressBound(data.size());
  std::string out(size, '\0');
  compress2(reinterpret_cast<Bytef*>(out.data()), &size,
            reinterpret_cast<const Bytef*>(data.data()), data.size(), 9);
  out.resize(size);
  return out;
}

std::string mp4Box(const std::string& name, const std::string& data) {
  return bigEndian(8 + data.size()) + name + data;
}

}  // namespace orvel::test
