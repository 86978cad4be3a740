#pragma once

#include <string>

#include "base/Md5.h"
#include "db/SqlStream.h"

namespace orvel {

/// One directory on an MTP device: the values of its DIRECTORIES row.
struct MtpDirectory {
  std::string path;
  std::string name;        ///< the last component of `path`
  Md5 partitionId;         ///< of the device's mount point
  std::string parentPath;  ///< the device's root name when `parentIsRoot`
  Md5 objectId;            ///< of `path`
  Md5 parentId;            ///< of `parentPath`
  bool parentIsRoot = false;
};

/// Binds the values of the directory's row to the prepared insert.
sqlstl::basic_sqlostream<char>& operator<<(sqlstl::basic_sqlostream<char>& out,
                                           const MtpDirectory* directory);

}  // namespace orvel
