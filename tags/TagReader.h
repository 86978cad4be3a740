#pragma once

#include <orvel/ProgressSnapshot.h>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "tags/TagResult.h"
#include "tags/TagStream.h"

namespace orvel {

/// Reads files one after the other, each for the goal of this reader. Implementations choose where
/// files are parsed. Used by one thread.
class TagReader {
 public:
  TagReader() = default;
  virtual ~TagReader() = default;
  TagReader(const TagReader&) = delete;
  TagReader& operator=(const TagReader&) = delete;

  /// Announces the files that `next` will be called for, in this order, so that they can be read
  /// ahead. Replaces an earlier announcement. A path that leads off the device at `mountPoint` is
  /// not opened.
  virtual void expect(std::string mountPoint, std::vector<std::string> paths) = 0;

  /// Reads `path`, which must be the next announced file. Calling it for any other file
  /// is a programming error: it is asserted, and otherwise returns `ReaderLost` and reads nothing.
  /// Throws std::exception when the parser does.
  virtual TagResult next(const std::string& path) = 0;

  /// Reads a file that only the host can reach, on a device that may be slow. Drops the
  /// announced files. Throws std::exception when the parser does.
  virtual TagResult read(TagStream& stream) = 0;

  /// True when the host chose isolation but the library parses in-process.
  [[nodiscard]] virtual bool isolationFailed() const { return false; }

  /// How confined the parser is; empty while there is none.
  [[nodiscard]] virtual std::optional<Confinement> confinement() const = 0;
};

/// Makes a reader whose work ends early when the token is raised.
using TagReaderFactory = std::function<std::unique_ptr<TagReader>(std::stop_token token)>;

}  // namespace orvel
