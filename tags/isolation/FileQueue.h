#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tags/AudioFile.h"
#include "tags/TagMessages.h"
#include "tags/TagResult.h"

namespace orvel {

/// The announced files of an isolated reader, in order:
///
///     | finished | current, sent ahead ... | not sent yet ... |
///
/// Opens files when they are about to be sent and keeps them open until they are finished, because
/// opening a file again may wait for a device that hangs. Gives every file an id that no other file
/// of this queue ever has.
class FileQueue {
 public:
  /// @param goal  what is read of every file
  explicit FileQueue(ReadingGoal goal) : filesGoal(goal) {}

  /// Files to send in one message, and how far the queue is sent once they are.
  struct Batch {
    std::vector<tagMessages::FileRequest> requests;
    std::vector<int> descriptors;
    std::size_t end = 0;
  };

  /// Replaces all files. While `hasUnanswered`, the caller must drop the worker first: it would
  /// answer for files that are gone.
  void announce(std::string mountPoint, std::vector<std::string> paths);
  [[nodiscard]] const std::string& mountPoint() const { return root.path(); }

  /// True when `path` is the current file.
  [[nodiscard]] bool isNext(const std::string& path) const;
  [[nodiscard]] std::uint32_t currentId() const { return files[current].id; }
  /// Set when the current file could not be opened and therefore was not sent.
  [[nodiscard]] std::optional<TagResult::Outcome> currentRefusal() const {
    return files[current].refusal;
  }
  /// Paths of the current file and all that follow.
  [[nodiscard]] std::vector<std::string> remainingPaths() const;
  /// Makes the next file the current one; the finished one is never sent again.
  void finishCurrent();

  /// True while so few files are sent ahead that the worker could run out of them.
  [[nodiscard]] bool needsSending() const;
  /// Opens the next files to send and notes those that cannot be opened.
  Batch openBatch();
  void markSent(const Batch& batch) { sent = batch.end; }
  /// Forgets that the current file and later ones were sent: the worker that had them is gone.
  void markUnsent() { sent = current; }
  [[nodiscard]] bool hasUnanswered() const { return sent > current; }

  /// An id for a file outside the queue.
  std::uint32_t takeId() { return ++lastId; }

 private:
  struct File {
    std::string path;
    std::uint32_t id = 0;
    AudioFile audio;
    std::optional<TagResult::Outcome> refusal;
  };

  const ReadingGoal filesGoal;
  DeviceRoot root;
  std::vector<File> files;
  std::size_t current = 0;
  std::size_t sent = 0;  ///< end of the files sent ahead; never before `current`
  std::uint32_t lastId = 0;
};

}  // namespace orvel
