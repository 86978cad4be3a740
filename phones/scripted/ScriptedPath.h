#pragma once

#include <string>

namespace orvel::scripted {

/// A path of a described object. Every path begins with "/"; "//" stands for a "/" within a name.
struct ScriptedPath {
  std::string parent;  ///< the path of the folder; empty for the storage's root
  std::string name;    ///< as the device lists it

  /// Throws std::invalid_argument with a text for people.
  explicit ScriptedPath(const std::string& path);
};

}  // namespace orvel::scripted
