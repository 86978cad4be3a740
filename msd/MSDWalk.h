#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/DeviceRoot.h"
#include "base/Limits.h"
#include "db/Directory.h"
#include "db/FileInfo.h"
#include "framework/Block.h"
#include "framework/RequestProgress.h"
#include "msd/MountPointWatch.h"

namespace orvel {

/// Whether a walk may read the next entry.
enum class WalkGoesOn {
  Yes,
  Paused,  ///< ends each listing at its next entry
  Stopped  ///< ends the walk
};

/// The stage around a walk, as far as the walk depends on it.
struct WalkHost {
  std::function<WalkGoesOn()> goesOn;                  ///< called before each entry is read
  std::function<void(LeftUndone)> leaveUndone;         ///< called when the walk ends early
  std::function<void(const std::string&)> pathFailed;  ///< called when the device fails at a path
};

/// One breadth-first walk over a device's directory tree. Owns no thread: it fills the blocks that
/// it is given, on the thread that calls `run`.
class MSDWalk {
 public:
  /// @param found          holds the root as its first item; each directory found is appended
  /// @param songFiles      receives song files in listing order
  /// @param playlistFiles  receives playlist files in listing order
  MSDWalk(Block<Directory*>& found, Block<FileInfo*>& songFiles, Block<FileInfo*>& playlistFiles,
          MountPointWatch& mountPointWatch, RequestProgress& requestProgress, WalkHost walkHost);

  /// Walks until every directory is listed, the limit of songs is reached, the mount point is gone
  /// or the host stops. Throws std::bad_alloc, with the blocks still consistent.
  void run();

 private:
  /// Identifies a directory whichever path leads to it.
  using Identity = std::pair<dev_t, ino_t>;
  struct Entry {
    struct statx status;  ///< of the file or folder that it leads to
    bool isLink;
  };

  static Identity identityOf(const struct statx& status);
  bool listDirectory(std::size_t index);
  [[nodiscard]] std::string pathIn(std::size_t index, std::string_view name) const;
  void visit(std::size_t index, const char* name, const Entry& entry);
  bool refuse(std::size_t index, const char* name, int error);
  void addDirectory(std::size_t index, const char* name, const Entry& entry);
  void addFile(std::size_t index, const char* name, std::int64_t modified);
  void noteFolderPicture(std::size_t firstSong);
  bool hasManyFolders();
  bool hasLongPaths();
  bool passOver(const std::string& unreadable, int error);
  bool isStillThere(const std::string& path, int error);
  [[nodiscard]] bool isOwnAncestor(std::size_t parent, Identity identity) const;
  [[nodiscard]] bool limitReached() const;

  const std::size_t maxSongs = limits().songs;
  const std::size_t maxFolders = limits().folders;
  Block<Directory*>& directories;
  Block<FileInfo*>& songs;
  Block<FileInfo*>& playlists;
  MountPointWatch& watch;
  RequestProgress& progress;
  WalkHost host;
  std::vector<Identity> identities;  ///< of `directories`, item by item
  std::set<Identity> linked;         ///< the directories that were entered through a link
  std::size_t pathBytes = 0;         ///< of everything found
  bool hasFolderPicture = false;     ///< in the directory that is being listed
  bool leadsOff = false;             ///< the device has entries that lead to other file systems
};

}  // namespace orvel
