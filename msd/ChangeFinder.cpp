#include "msd/ChangeFinder.h"

#include <utility>

#include "base/Log.h"
#include "db/SqlTexts.h"
#include "msd/GenericChangeFinder.h"

namespace orvel {

ChangeFinder::ChangeFinder(const char* stageName, Content fileContent, std::string select,
                           std::string remove, bool mtp)
    : ServerDB(stageName),
      content(fileContent),
      selectSql(std::move(select)),
      deleteSql(std::move(remove)),
      isMtp(mtp),
      readBefore(withPictures()) {}

ChangeFinder::sink_block_type_ptr ChangeFinder::doOperation(src_block_type_ptr block) {
  const Operation& operation = block->operation;
  const std::size_t files = block->items.size();
  OV_INFO("ChangeFinder for: %u (op: %d)", static_cast<unsigned>(files), operation.id);
  auto toAdd = boost::make_shared<Block<FileInfo*>>(operation);
  bool isMarked = false;
  if (in.handle() == nullptr) open(operation.deviceId);
  {
    const ClosingScope closing(*this);
    GenericChangeFinder finder(name, out, in);
    finder.stored = std::exchange(readBefore, StoredFiles(withPictures()));
    if (orphanCandidates) {
      orphanCandidates->begin(out.database());
      finder.beforeDeletion = [this](const std::vector<std::int32_t>& songs) {
        orphanCandidates->take(out.database(), songs);
      };
    }
    finder.findDifference(selectFor(operation.mountPoint), deleteSql, block, toAdd);
    if (!finder.committed() || !finder.sawAllRows()) {
      leaveUndone(toAdd->operation, LeftUndone::RowsLost);
    }
    count(files, toAdd->items.size(), finder.vanished());
    if (finder.foundChanges()) {
      (content == Content::Songs ? progress->songsChanged : progress->playlistsChanged) = true;
      whenMusicChanges();
    }
    isMarked = finder.marked();
  }
  if (!isMarked && !markInProgress(operation)) {
    // Nothing may be stored below the status "OK".
    return boost::make_shared<Block<FileInfo*>>(toAdd->operation);
  }
  if (!toAdd->items.empty()) signalContentModified(operation);
  return toAdd;
}

void ChangeFinder::readAhead(const Operation& operation) {
  try {
    open(operation.deviceId);
    readBefore.read(in, selectFor(operation.mountPoint));
  } catch (const std::exception& error) {
    OV_INFO("%s reads the rows after the walk: %s", name, error.what());
    close();
    readBefore = StoredFiles(withPictures());
  }
}

/// For a full disk: the manager may still find a way.
bool ChangeFinder::markInProgress(const Operation& operation) {
  return DatabaseMgr::instance().insertStatus(operation.deviceId, operation.mountPoint, "PROGRESS");
}

std::string ChangeFinder::selectFor(const std::string& mountPoint) const {
  return isMtp ? selectSql : sql::withPathPattern(selectSql, mountPoint);
}

void ChangeFinder::count(std::size_t files, std::size_t added, unsigned vanished) {
  if (content != Content::Songs) return;
  progress->songsUnchanged += static_cast<unsigned>(files - added);
  progress->songsAdded += static_cast<unsigned>(added);
  progress->songsRemoved += vanished;
}

}  // namespace orvel
