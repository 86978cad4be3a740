#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stop_token>
#include <vector>

#include "base/Mutex.h"
#include "tags/ParsedFile.h"

namespace orvel {

/// Parses files ahead on a thread of its own. Both threads wake each other up once per chunk:
///
///     | taken, the owner's | ready | being parsed |
///
/// After a troubled file it goes no further until the owner asks for more, because the owner may
/// end the work there.
class ParsingThread {
 public:
  /// Starts the thread. Throws std::system_error.
  /// @param parse  parses the next file; called on the thread, `files` times at most; must not
  ///               throw
  /// @param token  of the stage that the thread works for
  ParsingThread(std::size_t files, std::function<ParsedFile()> parse, std::stop_token token);
  /// Waits for the file that is being parsed.
  ~ParsingThread();
  ParsingThread(const ParsingThread&) = delete;
  ParsingThread& operator=(const ParsingThread&) = delete;

  /// Waits for the next file; called `files` times at most, on one thread.
  ParsedFile take();

 private:
  using Chunk = std::vector<ParsedFile>;

  static void* run(void* parsingThread);
  void parseChunk();
  bool handOver();
  void askForMore();

  const std::function<ParsedFile()> parseNext;
  const std::stop_token stopped;

  std::size_t left;  ///< files to parse; the thread's, as is `parsed`
  Chunk parsed;
  Chunk taken;  ///< the owner's, as is `next`
  std::size_t next = 0;

  Mutex mutex;
  Condition changed;
  Chunk ready ORVEL_GUARDED_BY(mutex);
  bool isAsked ORVEL_GUARDED_BY(mutex) = false;  ///< the owner waits for files
  bool isClosing ORVEL_GUARDED_BY(mutex) = false;

  pthread_t thread = 0;  ///< last: it uses the rest
};

}  // namespace orvel
