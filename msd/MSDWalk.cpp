#include "msd/MSDWalk.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <memory>
#include <utility>

#include "base/DeviceRoot.h"
#include "base/Log.h"
#include "base/OpenDirectory.h"
#include "base/ReadError.h"
#include "tags/FolderPicture.h"
#include "tags/MediaKind.h"

namespace orvel {

namespace {

bool isNeverWalked(std::string_view name) {
  return name == "." || name == ".." || name == ".TRASH" || name == "$RECYCLE.BIN";
}

}  // namespace

MSDWalk::MSDWalk(Block<Directory*>& found, Block<FileInfo*>& songFiles,
                 Block<FileInfo*>& playlistFiles, MountPointWatch& mountPointWatch,
                 RequestProgress& requestProgress, WalkHost walkHost)
    : directories(found),
      songs(songFiles),
      playlists(playlistFiles),
      watch(mountPointWatch),
      progress(requestProgress),
      host(std::move(walkHost)) {}

void MSDWalk::run() {
  assert(host.goesOn && host.leaveUndone && host.pathFailed);
  // A removed stick may leave an empty folder, which would pass for its content.
  if (watch.remember(directories.operation.id, directories.operation.mountPoint) != 0) {
    host.leaveUndone(LeftUndone::MountPointGone);
  }
  identities.assign(directories.items.size(), Identity{0, 0});
  for (std::size_t i = 0; i < directories.items.size() && !limitReached(); ++i) {
    const std::size_t firstSong = songs.items.size();
    const bool goesOn = listDirectory(i);
    noteFolderPicture(firstSong);
    if (!goesOn) return;
    progress.directoriesFound = static_cast<unsigned>(directories.items.size());
  }
  if (!limitReached()) return;
  OV_WARN("%d track reached", static_cast<int>(maxSongs));
  progress.limitReached = true;
}

MSDWalk::Identity MSDWalk::identityOf(const struct statx& status) {
  return {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
}

/// Returns false to end the walk.
bool MSDWalk::listDirectory(std::size_t index) {
  const std::string& path = directories.items[index]->path;
  const DeviceRoot root(directories.operation.mountPoint);
  struct statx status {};
  const OpenDirectory folder = openDirectory(root, path, status);
  if (!folder) return passOver(path, errno);
  identities[index] = identityOf(status);
  while (!limitReached()) {
    const WalkGoesOn goesOn = host.goesOn();
    if (goesOn != WalkGoesOn::Yes) {
      host.leaveUndone(LeftUndone::Interrupted);
      return goesOn == WalkGoesOn::Paused;
    }
    errno = 0;
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) return errno == 0 || passOver(path, errno);
    if (isNeverWalked(entry->d_name)) continue;
    Entry found{};
    const int error = root.look(dirfd(folder.get()), entry->d_name, found.status, found.isLink);
    if (error == 0) {
      visit(index, entry->d_name, found);
    } else if (!refuse(index, entry->d_name, error)) {
      return false;
    }
  }
  return true;
}

void MSDWalk::visit(std::size_t index, const char* name, const Entry& entry) {
  if (S_ISDIR(entry.status.stx_mode)) {
    addDirectory(index, name, entry);
  } else if (S_ISREG(entry.status.stx_mode) && name[0] != '.') {
    addFile(index, name, entry.status.stx_mtime.tv_sec);
  }
}

/// Passes over an entry without a status. Returns false when the mount point is gone.
bool MSDWalk::refuse(std::size_t index, const char* name, int error) {
  if (error == EXDEV && !std::exchange(leadsOff, true)) {
    OV_WARN("passed over, since it leads to another file system: %s", pathIn(index, name).c_str());
  }
  return isOrdinaryRefusal(error) || isStillThere(pathIn(index, name), error);
}

bool MSDWalk::hasManyFolders() {
  if (directories.items.size() < maxFolders) return false;
  if (!progress.folderLimitReached.exchange(true)) {
    OV_WARN("%d folders reached", static_cast<int>(maxFolders));
  }
  return true;
}

/// The paths of a real device take a tenth of this.
bool MSDWalk::hasLongPaths() {
  constexpr std::size_t kMostBytes = std::size_t{32} << 20;
  if (pathBytes < kMostBytes) return false;
  if (!progress.folderLimitReached.exchange(true)) {
    OV_WARN("paths of %d bytes reached", static_cast<int>(kMostBytes));
  }
  return true;
}

/// Allocates the exact size: the paths of a device make up most of a request's memory.
std::string MSDWalk::pathIn(std::size_t index, std::string_view name) const {
  const std::string& folder = directories.items[index]->path;
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  path.append(folder).append(1, '/').append(name);
  return path;
}

/// Enters a directory through one link only: folders that link to one another would multiply
/// without end.
void MSDWalk::addDirectory(std::size_t index, const char* name, const Entry& entry) {
  const Identity identity = identityOf(entry.status);
  if (isOwnAncestor(index, identity) || hasManyFolders() || hasLongPaths()) return;
  if (entry.isLink && !linked.insert(identity).second) return;
  auto directory = std::make_unique<Directory>(
      pathIn(index, name), directories.operation.mountPoint, static_cast<std::int32_t>(index));
  pathBytes += directory->path.size();
  identities.push_back(identity);
  directories.add(std::move(directory));
}

void MSDWalk::addFile(std::size_t index, const char* name, std::int64_t modified) {
  const MediaKind kind = mediaKindOf(name);
  if (kind == MediaKind::Other) hasFolderPicture = hasFolderPicture || isFolderPicture(name);
  if (kind == MediaKind::Other || hasLongPaths()) return;
  auto file = std::make_unique<FileInfo>(pathIn(index, name), 0U, narrowTime(modified));
  pathBytes += file->path->size();
  (kind == MediaKind::Song ? songs : playlists).add(std::move(file));
  if (kind == MediaKind::Playlist) {
    ++progress.playlistsFound;
    return;
  }
  ++progress.songsFound;
  directories.items[index]->hasMusic = true;
}

/// Tells the songs of the directory that was listed last, from `firstSong` on, of its picture: a
/// listing may bring them before it.
void MSDWalk::noteFolderPicture(std::size_t firstSong) {
  if (!std::exchange(hasFolderPicture, false)) return;
  for (std::size_t i = firstSong; i < songs.items.size(); ++i) {
    songs.items[i]->folderHasPicture = true;
  }
}

/// Returns false when the directory is unreadable because the mount point is gone.
bool MSDWalk::passOver(const std::string& unreadable, int error) {
  OV_WARN("Error opening dir: %s", unreadable.c_str());
  if (!isStillThere(unreadable, error)) return false;
  OV_WARN("go on");
  return true;
}

/// Returns false when the mount point is gone. Reports an error of the device itself.
bool MSDWalk::isStillThere(const std::string& path, int error) {
  const Operation& operation = directories.operation;
  const int missing = watch.missing(operation.id, operation.mountPoint);
  if (missing != 0) {
    OV_ERROR("MOUNT POINT IS NOT PRESENT ANYMORE %s: %d", operation.mountPoint.c_str(), missing);
    host.leaveUndone(LeftUndone::MountPointGone);
    return false;
  }
  if (!isOrdinaryRefusal(error)) host.pathFailed(path);
  return true;
}

/// Finds loops of links: the directory is `parent` or one of its ancestors.
bool MSDWalk::isOwnAncestor(std::size_t parent, Identity identity) const {
  assert(parent < identities.size() && identities.size() == directories.items.size());
  for (auto i = static_cast<std::int32_t>(parent); i >= 0;
       i = directories.items[static_cast<std::size_t>(i)]->parentIndex) {
    if (identities[static_cast<std::size_t>(i)] == identity) return true;
  }
  return false;
}

bool MSDWalk::limitReached() const {
  return songs.items.size() >= maxSongs;
}

}  // namespace orvel
