#include "host/shareRows.h"

#include <sqlite3.h>

namespace orvel::host {

namespace {

/// Mirrors the indexer, which selects the rows of a mount point with SQLite's LIKE and an unescaped
/// pattern.
bool ownsRowsOf(const std::string& mountPoint, const std::string& other) {
  return sqlite3_strlike((mountPoint + "%").c_str(), other.c_str(), 0) == 0;
}

}  // namespace

bool shareRows(const std::string& mountPoint, const std::string& other) {
  return ownsRowsOf(mountPoint, other) || ownsRowsOf(other, mountPoint);
}

}  // namespace orvel::host
