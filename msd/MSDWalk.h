#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "db/Directory.h"
#include "db/FileInfo.h"
#include "framework/Block.h"
#include "framework/RequestProgress.h"
#include "framework/SongLimit.h"
#include "msd/MountPointWatch.h"

namespace orvel {

/// What may cut a walk short.
enum class WalkGoesOn { Yes, Paused, Stopped };

/// One breadth-first walk over a device's directory tree. Knows no threads: it fills the blocks
/// that it is given and asks before each entry whether to go on.
class MSDWalk {
 public:
  /// @param found      its items are walked and grow by every directory found; the first is the
  /// root
  /// @param songFiles  receives song files, @param playlistFiles playlist files, in listing order
  /// @param ask        asked before each entry
  MSDWalk(Block<Directory*>& found, Block<FileInfo*>& songFiles, Block<FileInfo*>& playlistFiles,
          MountPointWatch& mountPointWatch, RequestProgress& requestProgress,
          std::function<WalkGoesOn()> ask);

  /// Walks to the end, to the limit of songs, or until the mount point is gone. Work left undone is
  /// marked as skipped on all three blocks.
  void run();

 private:
  /// What tells one directory from another, whatever paths lead to it.
  struct Identity {
    dev_t device;
    ino_t inode;
    bool operator==(const Identity&) const = default;
  };

  bool listDirectory(std::size_t index);
  bool readEntries(std::size_t index, int folder);
  bool visit(std::size_t index, int folder, const char* name);
  std::string pathIn(std::size_t index, std::string_view name) const;
  void addDirectory(std::size_t index, const char* name, Identity identity);
  void addFile(std::size_t index, const char* name, std::int64_t modified);
  bool handleUnreadable(const std::string& path, int error);
  bool isStillThere(int error);
  [[nodiscard]] bool isOwnAncestor(std::size_t parent, Identity identity) const;
  void leaveUndone(LeftUndone reason);

  Block<Directory*>& directories;
  Block<FileInfo*>& songs;
  Block<FileInfo*>& playlists;
  MountPointWatch& watch;
  RequestProgress& progress;
  std::function<WalkGoesOn()> goesOn;
  std::vector<Identity> identities;  ///< of `directories`, item by item
  int tracks = 0;
};

}  // namespace orvel
