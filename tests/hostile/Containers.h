#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The building blocks of the containers that songs come in, sound unless one lies about a size.
namespace orvel::test {

std::string bigEndian(std::uint64_t number, int bytes = 4);
std::string littleEndian(std::uint64_t number, int bytes = 4);
/// Seven bits to the byte, as ID3v2 has its sizes.
std::string synchsafe(std::uint64_t number);

/// An ID3v2.4 frame; a compressed one has a data length of its own in front.
std::string id3v2Frame(const std::string& id, const std::string& data, bool isCompressed = false);
/// The data of a chapter frame with `frames` in it.
std::string id3v2Chapter(const std::string& frames);
std::string id3v2Tag(const std::string& frames);
/// Compressed by zlib.
std::string deflated(const std::string& data);

/// A box of an MP4 file.
std::string mp4Box(const std::string& name, const std::string& data);
/// An MP4 file with these items in its list of tags.
std::string mp4File(const std::string& items);
std::string mp4TextItem(const std::string& name, const std::string& text);

/// A chunk of a RIFF file.
std::string riffChunk(const std::string& id, const std::string& data);
std::string waveFile(const std::string& chunks);

/// A metadata block of a FLAC file; 4 is the type of comments, 6 that of pictures.
std::string flacBlock(int type, const std::string& data);
/// A FLAC file with these blocks behind its stream information.
std::string flacFile(const std::string& blocks);

/// An ASF object with one of the two GUIDs that hold others.
std::string asfHeader(std::uint64_t objects, const std::string& data);
std::string asfHeaderExtension(const std::string& data);

}  // namespace orvel::test
