#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Md5.h"

namespace orvel {

/// The part of `path` after its last "/"; the whole path when it has none.
std::string lastComponent(std::string_view path);

/// The part of `path` before its last "/"; the whole path when it has none.
std::string parentPath(std::string_view path);

/// One directory on a mass-storage device: the values of its DIRECTORIES row.
struct Directory {
  /// @param parent  index of the parent in the request's directory vector, -1 for the mount point
  Directory(std::string fullPath, const std::string& mountPoint, std::int32_t parent)
      : path(std::move(fullPath)),
        name(lastComponent(path)),
        partitionId(Md5Kind::Directory, mountPoint),
        objectId(Md5Kind::Directory, path),
        parentIndex(parent) {}

  std::string path;
  std::string name;
  Md5 partitionId;
  Md5 objectId;
  std::int32_t parentIndex;
  bool hasMusic = false;  ///< a song lies in it or below it
};

}  // namespace orvel
