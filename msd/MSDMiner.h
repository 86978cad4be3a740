#pragma once

#include <cstdint>
#include <memory>

#include "db/FileInfo.h"
#include "db/MetaDataInfo.h"
#include "framework/RequestProgress.h"
#include "framework/Server.h"
#include "msd/MountPointWatch.h"
#include "tags/SongTag.h"
#include "tags/TagReader.h"
#include "tags/isolation/makeTagReader.h"

namespace orvel {

/// Whether mining goes on after a file. A block that ends early leaves the file and all after it to
/// the next request.
struct MiningDecision {
  bool endsBlock = false;
  LeftUndone reason{};  ///< of a block that ends early
};

/// Reads the tags of new and changed songs of a mass-storage device. A file whose tags cannot be
/// read still becomes a song, with empty texts. A song that the device did not deliver is read
/// again by the next request, once.
class MSDMiner : public Server<Block<FileInfo*>, Block<MetaDataInfo*>> {
 public:
  explicit MSDMiner(
      const char* stageName,
      std::shared_ptr<MountPointWatch> mountPointWatch = std::make_shared<MountPointWatch>(),
      TagReaderFactory makeReader = makeTagReader);

  /// Ends the reader on the stage's own thread, because it may have to wait for the device.
  void runLoop() override;
  sink_block_type_ptr doOperation(src_block_type_ptr block) override;

 private:
  void expect(const Block<FileInfo*>& files);
  bool mineFiles(const Block<FileInfo*>& files, sink_block_type_ptr& songs);
  MiningDecision mineGuarded(const FileInfo& file, Block<MetaDataInfo*>& songs);
  MiningDecision mine(const FileInfo& file, Block<MetaDataInfo*>& songs);
  TagResult readTags(const std::string& path);
  static void addSong(const FileInfo& file, std::int32_t lastModified, const SongTag& tag,
                      Block<MetaDataInfo*>& songs);
  MiningDecision addUndelivered(const FileInfo& file, const SongTag& tag,
                                Block<MetaDataInfo*>& songs);
  MiningDecision addWithoutTexts(const FileInfo& file, std::int32_t lastModified,
                                 Block<MetaDataInfo*>& songs);
  [[nodiscard]] bool isMountPointGone(const Operation& operation) const;

  std::shared_ptr<MountPointWatch> watch;
  TagReaderFactory makeReader;
  std::unique_ptr<TagReader> reader;  ///< from the first file of a request to its last
  int failuresInARow = 0;             ///< files that the device did not deliver
};

}  // namespace orvel
