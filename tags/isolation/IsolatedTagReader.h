#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "tags/TagReader.h"
#include "tags/isolation/FileQueue.h"
#include "tags/isolation/WorkerConnection.h"

namespace orvel {

/// Has files parsed by a worker: a process that may do nothing else (`orvel-tag-reader`), so that a
/// file that makes the parser crash, hang or bloat loses only its own tags. Opens the files itself
/// and sends them ahead.
///
/// The reader is a state machine. Each transition is the function of that name:
///
///     state      event                                  transition     new state  the file's
///     result
///     ---------  -------------------------------------  -------------  --------- -----------------
///     Untried    a file is due, the worker greets       workerStarted  Running
///     Untried    it cannot be started                   startFailed    InProcess  read in-process
///     Running    the result arrives                     -              Running    as received
///     Running    the worker fails; it is worn, and      dropWorker     Down       asked again
///                time is left
///     Running    the worker fails when fresh, or        blameFile      Down       Unreadable or
///                time is up                                                       Stalled
///     Running    stop, lack of memory, file unsendable  dropWorker     Down       Interrupted,
///                or no longer announced                                           thrown,
///                ReaderLost
///     Down       a file is due, the worker greets       workerStarted  Running
///     Down       it cannot be started                   startFailed    Down       ReaderLost
///     InProcess  any                                    -              InProcess  read in-process
///
/// A worn worker has answered before. It may have failed because of damage from earlier files, or
/// by somebody else's signal; a fresh worker then decides whether the file is to blame. InProcess
/// is entered only before any file was parsed: afterwards a file that ended the worker could end
/// the host.
class IsolatedTagReader : public TagReader {
 public:
  static constexpr std::chrono::milliseconds kTimeLimit{5000};

  /// @param program    absolute path of the worker's program
  /// @param timeLimit  for one file
  IsolatedTagReader(std::stop_token token, std::string program,
                    std::chrono::milliseconds timeLimit = kTimeLimit);
  ~IsolatedTagReader() override;

  void expect(std::vector<std::string> paths) override;
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override;
  [[nodiscard]] bool isolationFailed() const override { return state == State::InProcess; }

 private:
  using Outcome = TagResult::Outcome;

  enum class State : std::uint8_t {
    Untried,   ///< no worker was started yet
    Running,   ///< `worker` is up
    Down,      ///< no worker is up; one was before
    InProcess  ///< isolation is not available; `inProcess` reads
  };
  static bool isTransition(State from, State to);
  void enter(State next);

  /// One file, for which a worker is asked until its result is settled.
  struct Question {
    std::uint32_t id;
    const std::string& path;
    TagStream* source;  ///< null when the file is sent with its descriptor
  };
  template <class Send>
  tagMessages::Result ask(const Question& question, Send send);
  TagResult settle(tagMessages::Result answer);

  bool ensureRunning();
  void startWorker();
  void workerStarted(tagMessages::Confinement confinement);
  void startFailed(const std::string& reason);
  Outcome blameFile(const std::string& path);
  void dropWorker();

  std::optional<Outcome> sendCurrent();
  bool sendAhead();
  void assertOwner();

  // Constant after construction.
  const std::stop_token stopped;
  const std::string program;
  const std::chrono::milliseconds timeLimit;

  // Used by the owner's thread only.
  std::thread::id owner;  ///< the first thread that read
  State state = State::Untried;
  std::optional<WorkerConnection> worker;  ///< in state Running, and while it starts
  std::unique_ptr<TagReader> inProcess;    ///< in state InProcess
  FileQueue files;
};

}  // namespace orvel
