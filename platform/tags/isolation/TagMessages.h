#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/tags/TagResult.h"

/// What the library and the tag reader's process tell each other over a socket that keeps messages
/// apart. Both run on one machine and are built together: numbers are in its own byte order.
namespace orvel::tagMessages {

/// The socket's descriptor in the reader's process.
constexpr int kReaderSocket = 3;
/// Changes with every message: the two may come from different builds.
constexpr std::uint32_t kVersion = 1;
/// How many files one request hands over at most.
constexpr std::size_t kMostFiles = 16;
/// Longer messages are sent in pieces.
constexpr std::size_t kMostBytes = 32768;
/// A result is at most so long, with all its texts.
constexpr std::size_t kMostResultBytes = std::size_t{32} << 20;

/// How the reader's process ends by itself.
enum ExitStatus : int { Done = 0, NotStartedByLibrary = 2, OutOfMemory = 3, NoConnection = 4 };

/// What keeps the reader's process in bounds, beside its limits.
struct Confinement {
  bool systemCalls = false;  ///< no other system call than those that reading takes
  bool files = false;        ///< no way to any file by name
};

/// The first byte of a message from the reader.
enum class Kind : char {
  Greeting = 'G',  ///< the first message
  Piece = 'P',     ///< a part of a result; more follow
  Result = 'R'     ///< the last part of a result
};

/// A file that a request hands over; its descriptor goes along in the same place.
struct FileRequest {
  std::int64_t bytes = 0;
  std::string ending;  ///< of the file's name, with the dot
};

/// A result, or what the parser threw.
struct Result {
  TagResult result;
  std::optional<std::string> error;
};

std::string encodeRequests(const std::vector<FileRequest>& files);
std::string encodeGreeting(Confinement confinement);
/// Without the kind.
std::string encodeResult(const TagResult& result);
std::string encodeError(std::string_view error);

// Each gives nothing when the message is not what it should be: the reader may be in the hands of
// the file that it reads.
std::optional<std::vector<FileRequest>> decodeRequests(std::string_view message);
std::optional<Confinement> decodeGreeting(std::string_view message);
std::optional<Result> decodeResult(std::string_view message);

}  // namespace orvel::tagMessages
