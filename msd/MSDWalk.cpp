#include "msd/MSDWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "base/Log.h"
#include "base/ReadError.h"
#include "tags/MediaKind.h"

namespace orvel {

namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using OpenDirectory = std::unique_ptr<DIR, CloseDirectory>;

bool isNeverWalked(std::string_view name) {
  return name == "." || name == ".." || name == ".TRASH" || name == "$RECYCLE.BIN";
}

}  // namespace

MSDWalk::MSDWalk(Block<Directory*>& found, Block<FileInfo*>& songFiles,
                 Block<FileInfo*>& playlistFiles, MountPointWatch& mountPointWatch,
                 RequestProgress& requestProgress, std::function<WalkGoesOn()> ask)
    : directories(found),
      songs(songFiles),
      playlists(playlistFiles),
      watch(mountPointWatch),
      progress(requestProgress),
      goesOn(std::move(ask)) {}

void MSDWalk::run() {
  // A device that goes away now may leave an empty folder behind, which would pass for its content.
  if (watch.remember(directories.operation.id, directories.operation.mountPoint) != 0) {
    leaveUndone(LeftUndone::MountPointGone);
  }
  identities.assign(directories.items.size(), Identity{0, 0});
  for (std::size_t i = 0; i < directories.items.size(); ++i) {
    if (tracks >= kMaxSongs) break;
    if (!listDirectory(i)) return;
    progress.directoriesFound = static_cast<unsigned>(directories.items.size());
  }
  if (tracks != kMaxSongs) return;
  OV_WARN("%d track reached", kMaxSongs);
  progress.limitReached = true;
}

/// Returns false when the walk is over.
bool MSDWalk::listDirectory(std::size_t index) {
  const std::string& path = directories.items[index]->path;
  const OpenDirectory folder(opendir(path.c_str()));
  if (!folder) return handleUnreadable(path, errno);
  if (index == 0) {
    struct statx status {};
    if (statx(dirfd(folder.get()), "", AT_EMPTY_PATH, STATX_INO, &status) == 0) {
      identities[0] = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
    }
  }
  while (tracks < kMaxSongs) {
    switch (goesOn()) {
      case WalkGoesOn::Yes:
        break;
      case WalkGoesOn::Paused:
        leaveUndone(LeftUndone::Interrupted);
        return true;
      case WalkGoesOn::Stopped:
        leaveUndone(LeftUndone::Interrupted);
        return false;
    }
    errno = 0;
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) return errno == 0 || handleUnreadable(path, errno);
    if (isNeverWalked(entry->d_name)) continue;
    if (!visit(index, dirfd(folder.get()), entry->d_name)) return false;
  }
  return true;
}

/// Returns false when the mount point is gone.
bool MSDWalk::visit(std::size_t index, int folder, const char* name) {
  // statx has 64-bit times also where time_t has 32 bits.
  struct statx status {};
  if (statx(folder, name, 0, STATX_TYPE | STATX_MTIME | STATX_INO, &status) != 0) {
    return isOrdinaryRefusal(errno) || isStillThere(errno);
  }
  if (S_ISDIR(status.stx_mode)) {
    addDirectory(index, name,
                 {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino});
  } else if (S_ISREG(status.stx_mode) && name[0] != '.') {
    addFile(index, name, status.stx_mtime.tv_sec);
  }
  return true;
}

/// As long as it must be: the paths of a device are the most of what a request keeps in memory.
std::string MSDWalk::pathIn(std::size_t index, std::string_view name) const {
  const std::string& folder = directories.items[index]->path;
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  path.append(folder).append(1, '/').append(name);
  return path;
}

void MSDWalk::addDirectory(std::size_t index, const char* name, Identity identity) {
  if (isOwnAncestor(index, identity)) return;
  auto directory = std::make_unique<Directory>(
      pathIn(index, name), directories.operation.mountPoint, static_cast<std::int32_t>(index));
  identities.push_back(identity);
  directories.add(std::move(directory));
}

void MSDWalk::addFile(std::size_t index, const char* name, std::int64_t modified) {
  const MediaKind kind = mediaKindOf(name);
  if (kind == MediaKind::Other) return;
  auto file = std::make_unique<FileInfo>(pathIn(index, name), 0U, narrowTime(modified));
  (kind == MediaKind::Song ? songs : playlists).add(std::move(file));
  if (kind == MediaKind::Playlist) {
    ++progress.playlistsFound;
    return;
  }
  ++tracks;
  ++progress.songsFound;
  directories.items[index]->hasMusic = true;
}

/// Returns false when the mount point itself is gone, which ends the walk.
bool MSDWalk::handleUnreadable(const std::string& path, int error) {
  OV_WARN("Error opening dir: %s", path.c_str());
  if (!isStillThere(error)) return false;
  OV_WARN("go on");
  return true;
}

/// Returns false when the mount point is gone; an error of the device leaves work undone.
bool MSDWalk::isStillThere(int error) {
  const Operation& operation = directories.operation;
  const int missing = watch.missing(operation.id, operation.mountPoint);
  if (missing != 0) {
    OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
    leaveUndone(LeftUndone::MountPointGone);
    return false;
  }
  if (!isOrdinaryRefusal(error)) leaveUndone(LeftUndone::ReadError);
  return true;
}

bool MSDWalk::isOwnAncestor(std::size_t parent, Identity identity) const {
  for (auto i = static_cast<std::int32_t>(parent); i >= 0;
       i = directories.items[static_cast<std::size_t>(i)]->parentIndex) {
    if (identities[static_cast<std::size_t>(i)] == identity) return true;
  }
  return false;
}

void MSDWalk::leaveUndone(LeftUndone reason) {
  directories.operation.skipped = true;
  songs.operation.skipped = true;
  playlists.operation.skipped = true;
  progress.leaveUndone(reason);
}

}  // namespace orvel
