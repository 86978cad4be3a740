#include "db/MtpDirectory.h"

namespace orvel {

sqlstl::basic_sqlostream<char>& operator<<(sqlstl::basic_sqlostream<char>& out,
                                           const MtpDirectory* directory) {
  return out << directory->partitionId.text() << directory->path << directory->name
             << directory->objectId.text()
             << (directory->parentIsRoot ? directory->parentPath : directory->parentId.text());
}

}  // namespace orvel
