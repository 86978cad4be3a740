// What the library takes for granted of the target that it is compiled for.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <climits>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <orvel/Settings.h>
#include "db/FileInfo.h"

namespace orvel {

// Without these, folders of large file systems seem empty and files of 2 GiB cannot be opened.
static_assert(sizeof(off_t) == 8 && sizeof(dirent::d_ino) == 8 && sizeof(ino_t) == 8,
              "compile with _FILE_OFFSET_BITS=64");

// Dates after 2038 are read in 64 bits and stored in 32, on every target alike.
static_assert(sizeof(decltype(statx_timestamp::tv_sec)) == 8);
static_assert(std::is_same_v<decltype(FileInfo::lastModified), std::int32_t>);
static_assert(narrowTime(std::int64_t{1} << 31) == std::numeric_limits<std::int32_t>::min());
static_assert(std::numeric_limits<double>::digits >= 32, "a stored time is read as a double");

// `long` counts the bytes of a database and of what tags are read from; it has 32 bits or more.
static_assert(CHAR_BIT == 8 && sizeof(int) == 4 && sizeof(long) >= 4);
static_assert(Limits().databaseBytes < std::numeric_limits<std::int32_t>::max());

}  // namespace orvel
