#include "msd/PlaylistSaver.h"

#include "base/Log.h"
#include "base/Timer.h"
#include "db/SqlTexts.h"
#include "db/Transaction.h"

namespace orvel {

PlaylistSaver::sink_block_type_ptr PlaylistSaver::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  OV_INFO("PlaylistSaver for: %u (op: %d)", static_cast<unsigned>(block->items.size()),
          operation.id);
  auto result = boost::make_shared<Block<void>>(operation);
  open(operation.deviceId);
  const ClosingScope closing(*this);
  const Timer timer;
  Transaction transaction(out);
  out.query(sql::kInsertPlaylistEntry);
  unsigned read = 0;
  std::int64_t bytes = 0;
  for (const Playlist* playlist : block->items) {
    bytes += playlist->storedBytes();
    if (!fits(bytes, result->operation)) break;
    // The statement keeps its bindings, so this step repeats the last entry.
    out << playlist << sqlstl::step;
    if (!playlist->refused) ++read;
  }
  const bool written = out.good();
  if (transaction.end() && written) {
    progress->playlistsStored += read;
  } else {
    leaveUndone(result->operation, LeftUndone::RowsLost);
  }
  out.finalize();
  OV_INFO("PlaylistSaver timer: %ld (op: %d)", timer.elapsedMs(), operation.id);
  return operation.last ? result : sink_block_type_ptr();
}

}  // namespace orvel
