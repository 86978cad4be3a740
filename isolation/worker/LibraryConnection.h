#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Descriptor.h"

/// The worker's ends of the channels to the library that started it.
namespace orvel::libraryConnection {

/// A message from the library.
struct Message {
  std::string text;
  std::vector<Descriptor> descriptors;
};

/// False when somebody started the worker by hand.
bool exists();

/// Waits for a message; returns nothing when the library is gone.
std::optional<Message> receive();

/// Returns false when the library is gone.
bool send(std::string_view text);

/// Writes a result with its length into the pipe. Returns false when the library is gone.
bool writeResult(std::string_view text);

}  // namespace orvel::libraryConnection
