#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "isolation/WaitBudget.h"
#include "isolation/WorkerProcess.h"
#include "tags/TagMessages.h"
#include "tags/TagStream.h"

namespace orvel {

/// One worker, the process `orvel-tag-reader`, and the channels to it:
///
///     library                          worker
///     ControlSocket  -- requests ----> receives files, parses them in this order
///                    <- greeting, word of each request done, questions about bytes --
///     ResultPipe     <- results ------ one for each file
///
/// Checks everything that the worker sends, since a file may have taken it over. Used by one
/// thread. A raised token ends every wait.
class WorkerConnection : public WorkerProcess {
 public:
  /// Starts the process, which dies with the connection and with the calling thread. Throws
  /// std::system_error.
  /// @param carefully  see `workerProtocol::kCarefully`
  /// @param filesGoal  what is read of every file that is sent
  WorkerConnection(std::stop_token token, const std::string& program, bool carefully,
                   ReadingGoal filesGoal);

  enum class Sent : std::uint8_t {
    Yes,
    Later,  ///< the worker has enough to do; try again after its next result
    Never
  };

  /// Sends at most `tagMessages::kMostFiles` files, without waiting.
  /// @param descriptors  of the files in the same order, except those with `isAskedFor`; they stay
  ///                     the caller's
  [[nodiscard]] Sent send(const std::vector<tagMessages::FileRequest>& files,
                          std::span<const int> descriptors) const;

  /// Waits for the result of the file with this id, which must be the oldest one sent and
  /// unanswered. Returns nothing when the worker ended, sent anything else, or the budget is spent;
  /// `end` tells the reason then.
  /// @param source  serves the worker's questions about bytes meanwhile; null for a file that was
  ///                sent with its descriptor
  std::optional<tagMessages::Result> receive(std::uint32_t file, WaitBudget& budget,
                                             TagStream* source = nullptr);

  /// True once a result has arrived.
  [[nodiscard]] bool hasAnswered() const { return answered; }

 private:
  /// The bytes and questions that the worker has left for one file: more than a reader that keeps
  /// its own budgets needs.
  struct Inquiry {
    TagStream* source;
    std::int64_t bytesLeft = 40LL << 20;
    int questionsLeft = 20000;
  };

  std::optional<tagMessages::Result> decode(std::string_view text, std::uint32_t file);
  bool wait(WaitBudget& budget, Inquiry& inquiry);
  void hear(WaitBudget& budget, Inquiry& inquiry);
  void answer(const tagMessages::ByteRange& range, TagStream& source);

  const ReadingGoal goal;
  bool answered = false;
  Descriptor answers;  ///< the file in memory with the last answer; empty before the first
  bool isControlOpen = true;
};

}  // namespace orvel
