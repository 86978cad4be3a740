#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tags/TagReader.h"
#include "tags/isolation/ReaderConnection.h"

namespace orvel {

/// Has files parsed by a process that may do nothing else, so that a file that makes the parser
/// crash, hang or bloat costs itself only: it is unreadable. The process is started for the first
/// file, and anew after each that ended it. Files are opened here and handed over ahead.
class IsolatedTagReader : public TagReader {
 public:
  static constexpr std::chrono::milliseconds kTimeLimit{5000};

  /// @param program    absolute path of the reader's program
  /// @param timeLimit  for one file
  IsolatedTagReader(std::stop_token token, std::string program,
                    std::chrono::milliseconds timeLimit = kTimeLimit);
  ~IsolatedTagReader() override;

  void expect(std::vector<std::string> paths) override;
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override;
  [[nodiscard]] bool isolationFailed() const override { return inProcess != nullptr; }

 private:
  struct File {
    std::string path;
    /// Why it cannot be read, once it was to be handed over; nothing when it was.
    std::optional<TagResult::Outcome> refusal;
  };

  tagMessages::Result answerOrForget();
  tagMessages::Result answerForCurrent();
  tagMessages::Result answerFor(TagStream& stream);
  [[nodiscard]] bool isReady();
  bool start();
  void giveUp(const std::string& reason);
  bool handOver();
  tagMessages::Result notRead();
  std::optional<TagResult::Outcome> readerEnded(const Patience& patience, const std::string& path);

  const std::stop_token stopped;
  const std::string program;
  const std::chrono::milliseconds timeLimit;
  std::unique_ptr<TagReader> inProcess;  ///< stands in when the process cannot be started
  std::optional<ReaderConnection> reader;
  bool hasWorked = false;  ///< a reader's process has been up before
  std::vector<File> files;
  std::size_t current = 0;
  std::size_t handedOver = 0;  ///< where the files begin that are still to be handed over
};

}  // namespace orvel
