#include "orchestration/MtpPipeline.h"

#include <orvel/AttachedDevices.h>
#include <orvel/MtpDevice.h>

#include "db/SqlTexts.h"
#include "mtp/MtpDirectorySaver.h"
#include "mtp/MtpMiner.h"
#include "mtp/MtpPlaylistMiner.h"
#include "phones/DeviceList.h"

namespace orvel {

MtpPipeline::MtpPipeline(Orvel* owner)
    : SongDirectoryPipeline("MtpPipeline", owner, OperationType::Mtp) {
  using Content = ChangeFinder::Content;
  // Ends every loop over an unplugged device at its next item, even if the host has not noticed
  // yet.
  DeviceList::instance().setRemovalListener(
      [](t_handle handle) { MtpDevice::instance().disconnectDevice(handle); });
  crawlerStage = assemble(
      std::make_unique<MtpCrawler>("MtpCrawler"),
      std::make_unique<MtpDirectorySaver>("MtpDirectorySaver"),
      std::make_unique<ChangeFinder>("ChangeFinder-MtpSong", Content::Songs, sql::kSelectAllSongs,
                                     sql::kDeleteSong, true),
      std::make_unique<MtpMiner>("MtpMiner"),
      std::make_unique<MtpPlaylistMiner>("MtpPlaylistMiner"),
      std::make_unique<ChangeFinder>("ChangeFinder-MtpPlaylist", Content::Playlists,
                                     sql::kSelectAllPlaylists, sql::kDeletePlaylist, true));
}

}  // namespace orvel
