#include "orchestration/MSDPipeline.h"

#include "db/SqlTexts.h"
#include "msd/DirectorySaver.h"
#include "msd/MSDMiner.h"
#include "msd/MSDPlaylistMiner.h"
#include "msd/MountPointWatch.h"

namespace orvel {

MSDPipeline::MSDPipeline(Orvel* owner)
    : SongDirectoryPipeline("MSDPipeline", owner, OperationType::MassStorage) {
  using Content = ChangeFinder::Content;
  const auto watch = std::make_shared<MountPointWatch>();
  failures = std::make_shared<ReadFailures>();
  crawlerStage =
      assemble(std::make_unique<MSDCrawler>("MSDCrawler", watch, failures),
               std::make_unique<DirectorySaver>("DirectorySaver"),
               std::make_unique<ChangeFinder>("ChangeFinder-MSDSongs", Content::Songs,
                                              sql::kSelectSongs, sql::kDeleteSong, false),
               std::make_unique<MSDMiner>("MSDMiner", watch),
               std::make_unique<MSDPlaylistMiner>("MSDPlaylistMiner", watch, failures),
               std::make_unique<ChangeFinder>("ChangeFinder-MSDPlaylist", Content::Playlists,
                                              sql::kSelectPlaylists, sql::kDeletePlaylist, false));
}

void MSDPipeline::rememberFailures(bool isComplete) {
  failures->store(operation.deviceId, operation.mountPoint, isComplete);
}

}  // namespace orvel
