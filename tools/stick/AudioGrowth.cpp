#include "tools/stick/AudioGrowth.h"

#include <taglib/mpegfile.h>
#include <taglib/mpegheader.h>
#include <taglib/tbytevectorstream.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tools/stick/openWithoutAudio.h"

namespace orvel::stick {
namespace {

using TagLib::ByteVector;

void overwrite(ByteVector& bytes, unsigned int position, const ByteVector& with) {
  std::copy(with.begin(), with.end(), bytes.begin() + position);
}

unsigned int repeats(unsigned int size, unsigned int present, unsigned int unit) {
  return size > present && unit > 0 ? (size - present) / unit : 0;
}

ByteVector withRepeatedTail(const ByteVector& seed, unsigned int tailStart, unsigned int times) {
  const ByteVector tail = seed.mid(tailStart);
  ByteVector bytes = seed;
  bytes.resize(seed.size() + times * tail.size());
  for (unsigned int i = 0; i < times; ++i) overwrite(bytes, seed.size() + i * tail.size(), tail);
  return bytes;
}

unsigned int mpegFrames(const ByteVector& seed, unsigned int start) {
  TagLib::ByteVectorStream stream(seed);
  auto file = openWithoutAudio<TagLib::MPEG::File>(stream);
  unsigned int frames = 0;
  for (unsigned int at = start; at < seed.size(); ++frames) {
    const TagLib::MPEG::Header header(&file, at, false);
    if (!header.isValid() || header.frameLength() == 0) break;
    at += header.frameLength();
  }
  return frames;
}

unsigned int firstMpegFrameLength(const ByteVector& seed) {
  TagLib::ByteVectorStream stream(seed);
  auto file = openWithoutAudio<TagLib::MPEG::File>(stream);
  return TagLib::MPEG::Header(&file, 0, false).frameLength();
}

/// A Xing header stands in a frame of its own: a mark, flags, the number of frames, the number of
/// bytes, all big-endian. Without one every frame is sound.
ByteVector grownMpeg(const ByteVector& seed, unsigned int size) {
  const int xing = seed.find("Xing");
  if (xing < 0) return withRepeatedTail(seed, 0, repeats(size, seed.size(), seed.size()));
  const unsigned int soundStart = firstMpegFrameLength(seed);
  const unsigned int times = repeats(size, seed.size(), seed.size() - soundStart);
  ByteVector bytes = withRepeatedTail(seed, soundStart, times);
  overwrite(bytes, xing + 8, ByteVector::fromUInt(mpegFrames(seed, soundStart) * (times + 1)));
  overwrite(bytes, xing + 12, ByteVector::fromUInt(bytes.size()));
  return bytes;
}

/// The seed's last top-level atom is the media data, a 32-bit size and "mdat" before it.
ByteVector grownMp4(const ByteVector& seed, unsigned int size) {
  const unsigned int atom = seed.find("mdat") - 4;
  const unsigned int times = repeats(size, seed.size(), seed.size() - atom - 8);
  ByteVector bytes = withRepeatedTail(seed, atom + 8, times);
  overwrite(bytes, atom, ByteVector::fromUInt(bytes.size() - atom));
  return bytes;
}

ByteVector grownWav(const ByteVector& seed, unsigned int size) {
  const unsigned int chunk = seed.find("data");
  const unsigned int times = repeats(size, seed.size(), seed.size() - chunk - 8);
  ByteVector bytes = withRepeatedTail(seed, chunk + 8, times);
  overwrite(bytes, 4, ByteVector::fromUInt(bytes.size() - 8, false));
  overwrite(bytes, chunk + 4, ByteVector::fromUInt(bytes.size() - chunk - 8, false));
  return bytes;
}

/// Objects of the Advanced Systems Format begin with a 16-byte identifier and a 64-bit size. The
/// data object, the seed's last, has a 50-byte head that ends in the number of packets; the file
/// properties object holds the file's size at 40 and the number of packets at 56.
ByteVector grownAsf(const ByteVector& seed, unsigned int size) {
  const ByteVector dataId("\x36\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\x00\xaa\x00\x62\xce\x6c", 16);
  const ByteVector propertiesId("\xa1\xdc\xab\x8c\x47\xa9\xcf\x11\x8e\xe4\x00\xc0\x0c\x20\x53\x65",
                                16);
  const unsigned int data = seed.find(dataId);
  const unsigned int properties = seed.find(propertiesId);
  const long long packets = seed.toLongLong(data + 40, false);
  const unsigned int times = repeats(size, seed.size(), seed.size() - data - 50);
  ByteVector bytes = withRepeatedTail(seed, data + 50, times);
  const ByteVector allPackets = ByteVector::fromLongLong(packets * (times + 1), false);
  overwrite(bytes, data + 16, ByteVector::fromLongLong(bytes.size() - data, false));
  overwrite(bytes, data + 40, allPackets);
  overwrite(bytes, properties + 40, ByteVector::fromLongLong(bytes.size(), false));
  overwrite(bytes, properties + 56, allPackets);
  return bytes;
}

/// The bitwise cyclic redundancy check of RFC 9639, sections 9.1.8 (8 bits) and 9.3 (16 bits).
template <typename Register>
Register crc(const std::string& bytes, Register polynomial) {
  constexpr int width = 8 * sizeof(Register);
  Register value = 0;
  for (const char byte : bytes) {
    value = static_cast<Register>(value ^ (static_cast<unsigned char>(byte) << (width - 8)));
    for (int bit = 0; bit < 8; ++bit) {
      const bool top = (value >> (width - 1)) & 1;
      value = static_cast<Register>((value << 1) ^ (top ? polynomial : 0));
    }
  }
  return value;
}

/// The frame number in the UTF-8 like coding of RFC 9639, section 9.1.5, for numbers below 65536.
std::string codedFrameNumber(unsigned int number) {
  const auto byte = [](unsigned int value) { return static_cast<char>(value); };
  if (number < 0x80) return {byte(number)};
  if (number < 0x800) return {byte(0xc0 | number >> 6), byte(0x80 | (number & 0x3f))};
  return {byte(0xe0 | number >> 12), byte(0x80 | (number >> 6 & 0x3f)),
          byte(0x80 | (number & 0x3f))};
}

unsigned int flacSoundStart(const ByteVector& seed) {
  unsigned int at = 4;
  for (bool last = false; !last;) {
    last = (static_cast<unsigned char>(seed.data()[at]) & 0x80) != 0;
    at += 4 + seed.toUInt(at + 1, 3U);
  }
  return at;
}

/// The seed has one frame; its copies differ in the number and so in both checks. The stream
/// information, at 8, holds the number of samples in 36 bits at 13 and a digest of the sound at 18,
/// where zeros mean "unknown".
ByteVector grownFlac(const ByteVector& seed, unsigned int size) {
  constexpr unsigned int samplesOfFrame = 4096;
  const unsigned int start = flacSoundStart(seed);
  const std::string frame(seed.data() + start, seed.size() - start);
  const unsigned int times =
      1 + repeats(size, seed.size(), static_cast<unsigned int>(frame.size()));

  std::string sound;
  for (unsigned int number = 0; number < times; ++number) {
    std::string copy = frame.substr(0, 4) + codedFrameNumber(number);
    copy += static_cast<char>(crc<std::uint8_t>(copy, 0x07));
    copy.append(frame, 6, frame.size() - 8);
    const auto check = crc<std::uint16_t>(copy, 0x8005);
    copy += static_cast<char>(check >> 8);
    copy += static_cast<char>(check);
    sound += copy;
  }
  ByteVector bytes = seed.mid(0, start);
  overwrite(bytes, 8 + 14, ByteVector::fromUInt(times * samplesOfFrame));
  overwrite(bytes, 8 + 18, ByteVector(16, '\0'));
  bytes.append(ByteVector(sound.data(), static_cast<unsigned int>(sound.size())));
  return bytes;
}

}  // namespace

ByteVector grown(const ByteVector& seed, std::string_view extension, unsigned int size) {
  if (extension == ".mp3") return grownMpeg(seed, size);
  if (extension == ".m4a") return grownMp4(seed, size);
  if (extension == ".wav") return grownWav(seed, size);
  if (extension == ".wma") return grownAsf(seed, size);
  if (extension == ".flac") return grownFlac(seed, size);
  throw std::invalid_argument("No way to lengthen " + std::string(extension));
}

}  // namespace orvel::stick
