#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The part of the messages between the library and its workers that all workers share. A worker is
/// a confined process that parses files for the library. Both run on one machine, so numbers are in
/// its byte order.
///
/// A socket that keeps messages apart carries the worker's greeting first, then requests to the
/// worker. A pipe carries the results, each preceded by its length.
namespace orvel::workerProtocol {

/// Descriptors in the worker.
constexpr int kControlSocket = 3;
constexpr int kResultPipe = 4;
/// Bump whenever a message format changes; library and worker may be from different builds.
constexpr std::uint32_t kVersion = 5;
/// Largest number of descriptors with one message on the socket.
constexpr std::size_t kMostDescriptors = 16;
/// Largest size of a message on the socket; it has room for a path.
constexpr std::size_t kMostMessageBytes = 8192;
/// Precedes each result in the pipe.
using ResultLength = std::uint32_t;

/// Exit statuses of a worker.
enum ExitStatus : int {
  Done = 0,
  NotStartedByLibrary = 2,
  OutOfMemory = 3,
  NoConnection = 4,
  Worn = 5  ///< a fresh worker must do the rest
};

/// Argument of a worker after another ended before its greeting, perhaps by a filter of the host's
/// own: it tries in a child first which steps of its confinement it survives.
constexpr char kCarefully[] = "carefully";

/// The confinement of a worker beside its limits: 0 for each layer that holds, otherwise the number
/// of the error that prevents it.
struct Confinement {
  std::int32_t filterError = 0;    ///< only the system calls that reading needs
  std::int32_t landlockError = 0;  ///< no access to any file by name
};

std::string encodeGreeting(Confinement confinement);
/// Returns nothing for a malformed message and for a worker of another build.
std::optional<Confinement> decodeGreeting(std::string_view message);

/// Puts the length of `result` before it.
std::string withLength(std::string_view result);

}  // namespace orvel::workerProtocol
