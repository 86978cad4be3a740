#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tags/TagResult.h"

/// What the library and the tag reader's process tell each other. Both run on one machine and are
/// built together: numbers are in its own byte order.
///
/// A socket that keeps messages apart carries the greeting, then requests one way and, for each
/// that is done with, `kRequestDone` the other way; for a file without a descriptor also questions
/// and answers about its bytes. Results go through a pipe, each as soon as it
/// is there: the library knows at which file a reader ended, and yet need not wake up for every
/// one.
namespace orvel::tagMessages {

/// Descriptors in the reader's process.
constexpr int kControlSocket = 3;
constexpr int kResultPipe = 4;
/// Changes with every message: the two may come from different builds.
constexpr std::uint32_t kVersion = 1;
/// How many files one request hands over at most.
constexpr std::size_t kMostFiles = 16;
/// How long a message over the socket is at most.
constexpr std::size_t kMostMessageBytes = 4096;
/// How long a result is at most, with all its texts.
constexpr std::size_t kMostResultBytes = std::size_t{32} << 20;
/// How many bytes a question may ask for: what a file may cost in all.
constexpr std::int64_t kMostAskedBytes = 32LL << 20;
constexpr char kRequestDone = 'D';

/// How the reader's process ends by itself.
enum ExitStatus : int { Done = 0, NotStartedByLibrary = 2, OutOfMemory = 3, NoConnection = 4 };

/// What keeps the reader's process in bounds, beside its limits.
struct Confinement {
  bool systemCalls = false;  ///< no other system call than those that reading takes
  bool files = false;        ///< no way to any file by name
};

/// A file that a request hands over.
struct FileRequest {
  std::int64_t bytes = 0;
  std::string ending;       ///< of the file's name, with the dot
  bool isAskedFor = false;  ///< no descriptor goes along: each byte must be asked for
};

/// A part of the file that is asked for.
struct ByteRange {
  std::int64_t start = 0;
  std::int64_t length = 0;
};

/// A result, or what the parser threw.
struct Result {
  TagResult result;
  std::optional<std::string> error;
};

std::string encodeRequests(const std::vector<FileRequest>& files);
std::string encodeGreeting(Confinement confinement);
std::string encodeQuestion(const ByteRange& range);
/// @param count  how many bytes lie in the file whose descriptor goes along; negative after an
/// error
std::string encodeAnswer(std::int64_t count);
/// What stands before each result in the pipe: its length.
using ResultLength = std::uint32_t;
/// With the length before it.
std::string encodeResult(const TagResult& result);
std::string encodeError(std::string_view error);

// Each gives nothing when the message is not what it should be: the reader may be in the hands of
// the file that it reads.
std::optional<std::vector<FileRequest>> decodeRequests(std::string_view message);
std::optional<Confinement> decodeGreeting(std::string_view message);
std::optional<ByteRange> decodeQuestion(std::string_view message);
std::optional<std::int64_t> decodeAnswer(std::string_view message);
/// Without the length.
std::optional<Result> decodeResult(std::string_view message);

}  // namespace orvel::tagMessages
