#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// Reads the tags of files one after the other, wherever they are parsed. Used by one thread.
class TagReader {
 public:
  TagReader() = default;
  virtual ~TagReader() = default;
  TagReader(const TagReader&) = delete;
  TagReader& operator=(const TagReader&) = delete;

  /// Says which files `next` will be asked for, in this order; earlier ones are forgotten. They may
  /// be read ahead.
  virtual void expect(std::vector<std::string> paths) = 0;

  /// The tag of the next expected file; there must be one. Throws std::exception when the parser
  /// did.
  virtual TagResult next() = 0;

  /// The tag of what lies behind `stream`, on a device that is slow and only the host can reach;
  /// forgets what was expected. Throws std::exception when the parser did.
  virtual TagResult read(TagStream& stream) = 0;

  /// True when the host chose isolation and it was not to be had.
  [[nodiscard]] virtual bool isolationFailed() const { return false; }
};

/// Makes a reader whose work ends early when the token is raised.
using TagReaderFactory = std::function<std::unique_ptr<TagReader>(std::stop_token token)>;

/// A reader of the kind that the host has chosen (`setTagReading`).
std::unique_ptr<TagReader> makeTagReader(std::stop_token token);

}  // namespace orvel
