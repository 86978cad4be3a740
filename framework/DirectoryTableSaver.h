#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "db/SqlTexts.h"
#include "db/StoredDirectories.h"
#include "db/Transaction.h"
#include "framework/RequestProgress.h"
#include "framework/ServerDB.h"

namespace orvel {

/// A stage that keeps the DIRECTORIES rows of a device in step with a crawl: rewrites them, in one
/// transaction, only when the set of directories has changed.
template <class DIRECTORY>
class DirectoryTableSaver : public ServerDB<Block<DIRECTORY>, Block<void>> {
 public:
  using ServerDB<Block<DIRECTORY>, Block<void>>::ServerDB;

 protected:
  /// The stored rows that a block replaces.
  struct Scope {
    std::string pathPrefix;  ///< of their paths; empty for the whole table
    std::string deleteSql;   ///< deletes them
  };

  /// Stores the directories of `block` that have the identifiers `ids`. `result` is the operation
  /// of the block that the stage sends. Requires open streams.
  void update(const Block<DIRECTORY>& block, const Scope& scope, std::vector<std::string> ids,
              Operation& result) {
    assert(this->out.handle() != nullptr && this->in.handle() != nullptr);
    std::sort(ids.begin(), ids.end());
    const std::size_t differences = countDifferences(this->in, scope.pathPrefix, ids);
    if (!this->in.eof()) this->leaveUndone(result, LeftUndone::RowsLost);
    if (differences == 0) {
      OV_INFO("RNC: Did not find changes");
      this->progress->directoriesAreStored(static_cast<unsigned>(ids.size()));
      return;
    }
    OV_INFO("RNC: Found changes %u", static_cast<unsigned>(differences));
    if (this->stopping()) {
      this->leaveUndone(result, LeftUndone::Interrupted);
      return;
    }
    if (!this->fits(storedBytes(block), result)) return;
    if (rewrite(block, scope)) {
      this->progress->directoriesAreStored(static_cast<unsigned>(ids.size()));
    } else {
      this->leaveUndone(result, LeftUndone::RowsLost);
    }
    this->signalContentModified(result);
  }

  /// Steps the prepared insert once for each directory of `block` that is to be stored.
  virtual void insertRows(const Block<DIRECTORY>& block) = 0;

 private:
  /// About the bytes that a block takes in the database, rather too many than too few.
  static std::int64_t storedBytes(const Block<DIRECTORY>& block) {
    constexpr std::size_t kRestOfRow = 250;  // four identifiers, one of them also in an index
    std::size_t bytes = 0;
    for (const auto* directory : block.items) {
      bytes += directory->path.size() + directory->name.size() + kRestOfRow;
    }
    return static_cast<std::int64_t>(bytes);
  }

  /// Returns true when every row is committed.
  bool rewrite(const Block<DIRECTORY>& block, const Scope& scope) {
    Transaction transaction(this->out);
    this->out.clear();
    this->out.exec(scope.deleteSql.c_str());
    const bool deleted = this->out.good();
    this->out.query(sql::kInsertDirectory);
    insertRows(block);
    const bool inserted = this->out.good();
    this->out.finalize();
    return transaction.end() && deleted && inserted;
  }
};

}  // namespace orvel
