#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "isolation/WorkerStarter.h"
#include "tags/PooledTagReader.h"
#include "tags/TagReaderPatience.h"
#include "tags/TagReading.h"
#include "tags/isolation/FileQueue.h"
#include "tags/isolation/WorkerConnection.h"

namespace orvel {

/// Parses files in a worker, a process that may do nothing else (`orvel-tag-reader`): a file that
/// makes the parser crash, hang or bloat loses only its own tags. Opens the files itself and sends
/// them ahead.
///
/// The reader is a state machine. Each transition is the function of that name:
///
///     state      event                             transition     next state  result of the file
///     ---------  --------------------------------  -------------  ----------  -------------------
///     Untried    a file is due, the worker greets  workerStarted  Running
///     Untried    a file is due, no worker starts   startFailed    InProcess   read in-process
///     Untried    the same, isolation is required   startFailed    Refused     NotIsolated
///     Running    the result arrives                               Running     as received
///     Running    a worn worker fails in time       dropWorker     Down        (asked again)
///     Running    a worn worker says: no song       dropWorker     Down        (asked again)
///     Running    a fresh worker fails              blameFile      Down        Unreadable
///     Running    the time is up                    blameFile      Down        Unreadable, Stalled
///     Running    the request is stopped            dropWorker     Down        Interrupted
///     Running    the file cannot be sent           dropWorker     Down        ReaderLost
///     Running    an allocation fails               dropWorker     Down        (throws)
///     Running    the sent files are replaced       dropWorker     Down
///     Down       a file is due, the worker greets  workerStarted  Running
///     Down       a file is due, no worker starts   startFailed    Down        ReaderLost
///     InProcess  a file is due                                    InProcess   read in-process
///     Refused    a file is due                                    Refused     NotIsolated
///     any        a file is due, patience is spent                             GivenUp
///
/// A worn worker has answered before. It may have failed because of damage from earlier files, or
/// by somebody else's signal; a fresh worker then decides whether the file is to blame. It also has
/// to confirm that a file is no song, so that no file makes another vanish. A worker without a
/// layer of confinement that the kernel offers counts as one that does not start if isolation is
/// required. InProcess is entered only before any file was parsed: afterwards a file that ended the
/// worker could end the host.
class IsolatedTagReader : public PooledTagReader {
 public:
  /// @param program   absolute path of the worker's program
  /// @param policy    `Isolated` or `IsolationRequired`
  /// @param patience  shared by the readers of one request
  /// @param goal      the part of every file that is read
  IsolatedTagReader(
      std::stop_token token, std::string program, TagReading policy = TagReading::Isolated,
      std::shared_ptr<TagReaderPatience> patience = std::make_shared<TagReaderPatience>(),
      ReadingGoal goal = ReadingGoal::Tags);
  ~IsolatedTagReader() override;

  /// Starts a worker unless one is up, and sends it the first announced files. False when there is
  /// none.
  bool begin() override;
  bool beginBesides() override;
  [[nodiscard]] std::size_t costOfBeginning() const override { return 128; }

  void expect(std::string mountPoint, std::vector<std::string> paths) override;
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override;
  [[nodiscard]] bool isolationFailed() const override { return state == State::InProcess; }
  [[nodiscard]] std::optional<Confinement> confinement() const override { return confined; }

 private:
  using Outcome = TagResult::Outcome;

  enum class State : std::uint8_t {
    Untried,   ///< no worker was started yet
    Running,   ///< `worker` is up
    Down,      ///< no worker is up; one was before
    Refused,   ///< isolation is required, but not to be had
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
  static TagResult settle(tagMessages::Result answer);

  bool ensureRunning();
  template <class IsUp>
  bool beginOnce(IsUp isUp);
  bool tryToStart();
  void workerStarted();
  void startFailed();
  Outcome blameFile(const std::string& path);
  [[nodiscard]] bool isGivenUp() const { return patience->isSpent(); }
  void spendPatience(WaitBudget::Clock::duration time);
  void dropWorker();

  std::optional<Outcome> sendCurrent();
  bool sendAhead();
  void assertOwner();

  // Constant after construction.
  const std::stop_token stopped;
  const TagReading policy;
  const ReadingGoal goal;

  // Used by the owner's thread only.
  std::thread::id owner;  ///< the first thread that read
  State state = State::Untried;
  std::shared_ptr<TagReaderPatience> patience;
  WorkerStarter starter;
  std::optional<Confinement> confined;
  std::optional<WorkerConnection> worker;  ///< in state Running, and while it starts
  std::unique_ptr<TagReader> inProcess;    ///< in state InProcess
  FileQueue files;
};

}  // namespace orvel
