#pragma once

#include <orvel/Cover.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "isolation/WorkerProtocol.h"
#include "tags/TagResult.h"

/// The messages between the library and the worker that reads tags, the process `orvel-tag-reader`.
///
/// After the greeting the socket carries requests to the worker and `kRequestDone` back for each
/// that is finished; for a file without a descriptor also questions about its bytes and their
/// answers. The pipe carries each result as soon as it is ready: the library knows at which file a
/// worker ended, yet need not wake up for every file.
namespace orvel::tagMessages {

/// Largest number of files in one request.
constexpr std::size_t kMostFiles = workerProtocol::kMostDescriptors;
/// Largest size of a result with all its texts.
constexpr std::size_t kMostResultBytes = std::size_t{256} << 10;
/// Largest size of a result with a picture.
constexpr std::size_t kMostPictureResultBytes = Cover::kMostBytes + 64;
/// Largest size of the text of a parser's exception, which goes to the log.
constexpr std::size_t kMostErrorBytes = 256;
/// Largest number of bytes that a question may ask for.
constexpr std::int64_t kMostAskedBytes = 1LL << 20;
constexpr char kRequestDone = 'D';

/// One file of a request.
struct FileRequest {
  std::uint32_t id = 0;  ///< repeated in the result, so that no other file can get it
  std::int64_t bytes = 0;
  std::string ending;       ///< of the file's name, with the dot
  bool isAskedFor = false;  ///< sent without descriptor: the worker asks for its bytes
  ReadingGoal goal = ReadingGoal::Tags;
};

/// A part of the file that the worker asks for.
struct ByteRange {
  std::int64_t start = 0;
  std::int64_t length = 0;
};

/// The result of one file, or the text of the parser's exception.
struct Result {
  std::uint32_t id = 0;
  TagResult result;
  std::optional<std::string> error;
};

/// The end of a file's name from its last dot on, by which the parser chooses the format.
std::string nameEndingOf(const std::string& path);

std::string encodeRequests(const std::vector<FileRequest>& files);
std::string encodeQuestion(const ByteRange& range);
/// @param count  number of bytes in the file whose descriptor is sent along; negative after an
///               error
std::string encodeAnswer(std::int64_t count);
/// @param goal  which part of `result` is sent
std::string encodeResult(std::uint32_t id, const TagResult& result,
                         ReadingGoal goal = ReadingGoal::Tags);
std::string encodeError(std::uint32_t id, std::string_view error);

// Each decoder returns nothing for a malformed message: a file may have taken the worker over.
std::optional<std::vector<FileRequest>> decodeRequests(std::string_view message);
std::optional<ByteRange> decodeQuestion(std::string_view message);
std::optional<std::int64_t> decodeAnswer(std::string_view message);
std::optional<Result> decodeResult(std::string_view message, ReadingGoal goal);

}  // namespace orvel::tagMessages
