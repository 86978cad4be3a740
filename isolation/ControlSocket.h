#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "base/Descriptor.h"

namespace orvel {

/// The library's end of the socket to a worker. Keeps messages apart, passes descriptors along and
/// never waits.
class ControlSocket {
 public:
  explicit ControlSocket(Descriptor libraryEnd) : end(std::move(libraryEnd)) {}

  [[nodiscard]] int get() const { return end.get(); }

  /// Sends one message with at most `workerProtocol::kMostDescriptors` descriptors. On failure
  /// returns false and sets errno.
  [[nodiscard]] bool send(std::string text, std::span<const int> descriptors) const;

  /// True while the worker has not taken every message sent to it.
  [[nodiscard]] bool hasUntaken() const;

  /// Takes the next message: an empty one when the worker has closed its end, nothing when none has
  /// arrived.
  [[nodiscard]] std::optional<std::string> receive() const;

 private:
  Descriptor end;
};

}  // namespace orvel
