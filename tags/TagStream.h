#pragma once

#include <taglib/id3v2header.h>
#include <taglib/tiostream.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

#include "tags/PictureForm.h"
#include "tags/StreamTypes.h"

namespace orvel {

/// A file that TagLib reads tags from; derived classes fetch its bytes. Reads in blocks of 4 KiB,
/// since tags are a small part of a file. Enforces a budget, since a hostile file can keep TagLib
/// reading: when the budget is spent or the token is raised, the file seems to end. Skips large
/// pictures unless told otherwise, and bounds the cost of ID3v2 frames. Used by one thread.
class TagStream : public TagLib::IOStream {
 public:
  TagStream(const TagStream&) = delete;
  TagStream& operator=(const TagStream&) = delete;

  /// True when the token ended the reading, so that the tag may be incomplete.
  [[nodiscard]] bool interrupted() const { return wasInterrupted; }
  /// True when the time was up before the parser had all that it asked for.
  [[nodiscard]] bool ranOutOfTime() const { return wasLate; }
  /// True when the device failed to deliver the file or data of it.
  [[nodiscard]] bool readFailed() const { return hadReadError; }

  /// From now on leaves no picture out.
  void keepPictures() { keepsPictures = true; }

  /// Reads up to `length` bytes at `start` into `target`, bypassing cache and budget. Returns the
  /// number of bytes read, which is smaller at the end of the file or after an error; `readFailed`
  /// reports the error.
  virtual long readAt(std::int64_t start, char* target, long length) = 0;

  TagLib::FileName name() const override { return fileName.c_str(); }
  TagLib::ByteVector readBlock(StreamBytes length) override;
  bool readOnly() const override { return true; }
  void seek(StreamOffset offset, Position from) override;
  StreamOffset tell() const override { return position; }
  StreamOffset length() override { return size; }

  // The file is never written.
  void writeBlock(const TagLib::ByteVector& /*data*/) override {}
  void insert(const TagLib::ByteVector& /*data*/, StreamStart /*start*/,
              StreamBytes /*replace*/) override {}
  void removeBlock(StreamStart /*start*/, StreamBytes /*length*/) override {}
  void truncate(StreamOffset /*length*/) override {}

 protected:
  static constexpr std::chrono::milliseconds kTimeBudget{5000};

  /// @param streamName  its ending selects the format
  TagStream(std::string streamName, std::stop_token token,
            std::chrono::milliseconds timeBudget = kTimeBudget);

  void setSize(std::int64_t bytes);
  /// For `readAt`.
  void noteReadError() { hadReadError = true; }

 private:
  static constexpr long kBlockBytes = 4096;
  static constexpr std::size_t kCachedBlocks = 8;

  struct CachedBlock {
    StreamOffset start = -1;
    long bytes = 0;
    std::array<char, kBlockBytes> data;
  };

  TagLib::ByteVector readTag(const TagLib::ID3v2::Header& header);
  TagLib::ByteVector readWithoutPictures(unsigned int length, unsigned int version);
  PictureForm formOfPicture(StreamBytes length);
  TagLib::ByteVector readHeadersOfPicture(PictureForm form, StreamBytes length);
  TagLib::ByteVector readUnguarded(StreamBytes length);
  [[nodiscard]] long bytesToRead(StreamBytes length) const;
  TagLib::ByteVector readPiece(long length);
  TagLib::ByteVector readDirectly(long length);
  TagLib::ByteVector readCached(long length);
  bool spent();
  const CachedBlock& block(StreamOffset start);

  std::string fileName;
  std::stop_token stopped;
  std::chrono::steady_clock::time_point deadline;
  StreamOffset size = 0;
  StreamOffset position = 0;
  std::int64_t bytesLeft;
  int readsLeft;
  bool keepsPictures = false;
  bool wasInterrupted = false;
  bool hadReadError = false;
  bool wasLate = false;
  /// The result of the last read, when it may be the header of an ID3v2 tag. TagLib does not check
  /// the identifier of a tag in a chunk.
  std::optional<TagLib::ByteVector> possibleTagHeader;
  std::size_t nextVictim = 0;
  std::array<CachedBlock, kCachedBlocks> cache;
};

}  // namespace orvel
