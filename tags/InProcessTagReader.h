#pragma once

#include <cstddef>

#include "tags/AudioFile.h"
#include "tags/TagReader.h"

namespace orvel {

/// Parses files on the calling thread. Opens some ahead, so that a slow device prefetches them
/// meanwhile.
class InProcessTagReader : public TagReader {
 public:
  /// @param goal  what is read of every file
  explicit InProcessTagReader(std::stop_token token, ReadingGoal goal = ReadingGoal::Tags)
      : stopped(std::move(token)), filesGoal(goal) {}

  void expect(std::string mountPoint, std::vector<std::string> paths) override;
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override;
  [[nodiscard]] std::optional<Confinement> confinement() const override {
    return Confinement::None;
  }

 private:
  static constexpr std::size_t kFilesAhead = 16;
  /// After as many files that use up their time the rest of the request is not read.
  static constexpr int kMostLateFiles = 64;

  struct File {
    std::string path;
    AudioFile audio;  ///< open from `openAhead` until it is read
  };

  void openAhead();

  const std::stop_token stopped;
  const ReadingGoal filesGoal;
  DeviceRoot root;
  std::vector<File> files;
  std::size_t current = 0;
  std::size_t opened = 0;  ///< number of files that were opened so far
  int lateFiles = 0;
};

}  // namespace orvel
