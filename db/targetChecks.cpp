// Compile-time checks of the properties that the library assumes of its target.

#include <dirent.h>
#include <fcntl.h>
#include <orvel/Settings.h>
#include <sys/stat.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "db/FileInfo.h"

namespace orvel {

// With 32-bit offsets, folders of large file systems look empty and files of 2 GiB do not open.
static_assert(sizeof(off_t) == 8 && sizeof(dirent::d_ino) == 8 && sizeof(ino_t) == 8,
              "compile with _FILE_OFFSET_BITS=64");

// Every target reads dates after 2038 in 64 bits and stores them in 32.
static_assert(sizeof(decltype(statx_timestamp::tv_sec)) == 8);
static_assert(std::is_same_v<decltype(FileInfo::lastModified), std::int32_t>);
static_assert(narrowTime(std::int64_t{1} << 31) == std::numeric_limits<std::int32_t>::min());
static_assert(std::numeric_limits<double>::digits >= 32, "a stored time is read as a double");

// `long` counts the bytes of databases and of tagged files; 32 bits are enough for both.
static_assert(CHAR_BIT == 8 && sizeof(int) == 4 && sizeof(long) >= 4);
static_assert(Limits().databaseBytes < std::numeric_limits<std::int32_t>::max());

}  // namespace orvel
