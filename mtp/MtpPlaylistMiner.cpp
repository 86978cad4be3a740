#include "mtp/MtpPlaylistMiner.h"

#include <orvel/MtpDevice.h>

#include <memory>
#include <utility>

#include "base/Log.h"
#include "framework/RequestProgress.h"
#include "mtp/MtpConnection.h"
#include "phones/MtpUtils.h"

namespace orvel {

MtpPlaylistMiner::sink_block_type_ptr MtpPlaylistMiner::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("MtpPlaylistMiner for: %u (op: %d) MP: %s ", static_cast<unsigned>(block->items.size()),
          operation.id, operation.mountPoint.c_str());
  auto playlists = boost::make_shared<Block<Playlist*>>(operation);
  playlists->items.reserve(block->items.size());
  MtpConnection connection(operation.handle, operation.deviceId);
  const auto goesOn = [&] {
    return MtpDevice::instance().isDeviceConnected(operation.handle) && !stopping() &&
           !MtpUtils::isGivenUp(operation.handle);
  };
  for (const FileInfo* file : block->items) {
    if (!goesOn()) break;
    std::unique_ptr<Playlist> playlist =
        connection.generatePlaylist(operation.deviceId, operation.mountPoint, file->auxWord);
    if (playlist != nullptr) playlists->add(std::move(playlist));
  }
  if (!block->items.empty() && (!goesOn() || !connection.isComplete())) {
    leaveUndone(playlists->operation, stopping() ? LeftUndone::Interrupted : LeftUndone::ReadError);
  }
  OV_INFO("MtpPlaylistMiner done (op: %d)", operation.id);
  return playlists;
}

}  // namespace orvel
