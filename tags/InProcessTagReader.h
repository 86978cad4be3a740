#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tags/AudioFile.h"
#include "tags/ParsingThread.h"
#include "tags/PooledTagReader.h"
#include "tags/TagReaderPatience.h"

namespace orvel {

/// Parses files on the calling thread, or, once begun, on a thread of its own. Opens some ahead, so
/// that a slow device prefetches them meanwhile.
class InProcessTagReader : public PooledTagReader {
 public:
  /// @param goal      what is read of every file
  /// @param patience  shared by the readers of one request
  explicit InProcessTagReader(
      std::stop_token token, ReadingGoal goal = ReadingGoal::Tags,
      std::shared_ptr<TagReaderPatience> patience = std::make_shared<TagReaderPatience>())
      : stopped(std::move(token)), filesGoal(goal), requestsPatience(std::move(patience)) {}

  void expect(std::string mountPoint, std::vector<std::string> paths) override;
  bool begin() override;
  bool beginBesides() override { return begin(); }
  [[nodiscard]] std::size_t costOfBeginning() const override { return kChunk; }
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override;
  [[nodiscard]] std::optional<Confinement> confinement() const override {
    return Confinement::None;
  }

 private:
  static constexpr std::size_t kFilesAhead = 16;

  struct File {
    std::string path;
    AudioFile audio;  ///< open from `openAhead` until it is read
  };

  ParsedFile parse();
  void openAhead();

  const std::stop_token stopped;
  const ReadingGoal filesGoal;
  const std::shared_ptr<TagReaderPatience> requestsPatience;
  std::size_t current = 0;  ///< number of files that were asked for

  // Used by `thread` while it is up, apart from the paths.
  DeviceRoot root;
  std::vector<File> files;
  std::size_t parsed = 0;  ///< number of files
  std::size_t opened = 0;  ///< number of files that were opened so far

  std::unique_ptr<ParsingThread> thread;  ///< from `begin` until other files are announced
};

}  // namespace orvel
