#include "orchestration/MSDPipeline.h"

#include "db/SqlTexts.h"
#include "msd/ChangeFinder.h"
#include "msd/DirectorySaver.h"
#include "msd/MSDMiner.h"
#include "msd/MSDPlaylistMiner.h"
#include "msd/MountPointWatch.h"
#include "msd/Normalizer.h"
#include "msd/PlaylistSaver.h"
#include "msd/SongSaver.h"

namespace orvel {

MSDPipeline::MSDPipeline(Orvel* owner)
    : SongDirectoryPipeline("MSDPipeline", owner, MSD_OPERATION) {
  const auto watch = std::make_shared<MountPointWatch>();
  auto crawlerOwner = std::make_unique<MSDCrawler>("MSDCrawler", watch);
  auto directorySaver = std::make_unique<DirectorySaver>("DirectorySaver");

  auto* songFinder =
      add(std::make_unique<ChangeFinder>("ChangeFinder-MSDSongs", ChangeFinder::Content::Songs,
                                         sql::kSelectSongs, sql::kDeleteSong, false));
  auto* normalizer = add(std::make_unique<Normalizer>("Normalizer"));
  auto* miner = add(std::make_unique<MSDMiner>("MSDMiner", watch));
  auto* songSaver = add(std::make_unique<SongSaver>("SongSaver"));

  auto playlistMinerOwner = std::make_unique<MSDPlaylistMiner>("MSDPlaylistMiner");
  auto* playlistFinder = add(
      std::make_unique<ChangeFinder>("ChangeFinder-MSDPlaylist", ChangeFinder::Content::Playlists,
                                     sql::kSelectPlaylists, sql::kDeletePlaylist, false));
  auto* playlistMiner = add(std::move(playlistMinerOwner));
  auto* playlistSaver = add(std::make_unique<PlaylistSaver>("PlaylistSaver"));

  crawlerOwner->songSink = songFinder;
  crawlerOwner->playlistSink = playlistFinder;
  crawlerOwner->directorySink = directorySaver.get();
  songFinder->sink = normalizer;
  normalizer->sink = miner;
  miner->sink = songSaver;
  songSaver->sink = this;
  playlistFinder->sink = playlistMiner;
  playlistMiner->sink = playlistSaver;
  playlistSaver->sink = this;
  directorySaver->sink = this;

  crawlerStage = add(std::move(crawlerOwner));
  add(std::move(directorySaver));
}

}  // namespace orvel
