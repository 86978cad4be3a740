#include "tests/hostile/Containers.h"

#include <zlib.h>

#include <algorithm>

namespace orvel::test {

namespace {

std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

}  // namespace

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

std::string id3v2Tag(const std::string& frames) {
  return std::string("ID3\4\0\0", 6) + synchsafe(frames.size()) + frames;
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

std::string mp4File(const std::string& items) {
  const std::string tags = mp4Box("udta", mp4Box("meta", zeros(4) + mp4Box("ilst", items)));
  return mp4Box("ftyp", "M4A " + zeros(4)) + mp4Box("moov", tags);
}

std::string mp4TextItem(const std::string& name, const std::string& text) {
  return mp4Box(name, mp4Box("data", bigEndian(1) + zeros(4) + text));
}

std::string riffChunk(const std::string& id, const std::string& data) {
  return id + littleEndian(data.size()) + data + zeros(data.size() % 2);
}

std::string waveFile(const std::string& chunks) {
  return riffChunk("RIFF", "WAVE" + chunks);
}

std::string flacBlock(int type, const std::string& data) {
  return bigEndian(static_cast<std::uint64_t>(type), 1) + bigEndian(data.size(), 3) + data;
}

std::string flacFile(const std::string& blocks) {
  constexpr int kLastPadding = 0x81;
  return "fLaC" + flacBlock(0, zeros(34)) + blocks + flacBlock(kLastPadding, "");
}

std::string asfHeader(std::uint64_t objects, const std::string& data) {
  return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9" + zeros(1) + "\xAA" + zeros(1) +
         "\x62\xCE\x6C" + littleEndian(30 + data.size(), 8) + littleEndian(objects) + "\1\2" + data;
}

std::string asfHeaderExtension(const std::string& data) {
  return "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3" + zeros(1) + "\xC0\x0C\x20\x53\x65" +
         littleEndian(46 + data.size(), 8) + zeros(18) + littleEndian(data.size()) + data;
}

}  // namespace orvel::test
