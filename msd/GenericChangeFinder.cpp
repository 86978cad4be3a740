#include "msd/GenericChangeFinder.h"

#include <algorithm>
#include <cassert>
#include <tuple>

#include "base/Log.h"
#include "base/Md5.h"
#include "base/Timer.h"
#include "db/SqlTexts.h"
#include "db/Transaction.h"

namespace orvel {

namespace {

using Key = std::tuple<const std::string&, std::int32_t>;

Key keyOf(const DbObject* row) {
  return {row->path, row->lastModified};
}
Key keyOf(const FileInfo* file) {
  return {*file->path, file->lastModified};
}

template <class A, class B>
bool less(const A* a, const B* b) {
  return keyOf(a) < keyOf(b);
}

/// Sorts in place. Most listings and tables are sorted already, which is cheap to find out.
template <class Pointers>
void sortByKey(Pointers& pointers) {
  const DbObjectPtrComparer comparer;
  if (!std::is_sorted(pointers.begin(), pointers.end(), comparer)) {
    std::sort(pointers.begin(), pointers.end(), comparer);
  }
}

/// Counts the rows whose path no file has. Both sides are sorted.
unsigned countVanished(const std::vector<const DbObject*>& rows,
                       const std::vector<FileInfo*>& files) {
  assert(std::is_sorted(files.begin(), files.end(), DbObjectPtrComparer()));
  unsigned vanished = 0;
  auto file = files.begin();
  for (const DbObject* row : rows) {
    while (file != files.end() && *(*file)->path < row->path) ++file;
    if (file == files.end() || *(*file)->path != row->path) ++vanished;
  }
  return vanished;
}

/// Removes the rows from `stale` whose path no file has, but that may still be on the device. The
/// files are sorted.
void keepDoubtful(std::vector<const DbObject*>& stale, const Block<FileInfo*>& found) {
  if (found.doubtful.empty()) return;
  std::erase_if(stale, [&](const DbObject* row) {
    const auto file = std::lower_bound(
        found.items.begin(), found.items.end(), row->path,
        [](const FileInfo* one, const std::string& path) { return *one->path < path; });
    const bool isFound = file != found.items.end() && *(*file)->path == row->path;
    return !isFound && found.isDoubtful(row->path);
  });
}

/// True when a picture has come to the folder of a song, or gone from it, since the song was read.
bool hasOldCover(const DbObject& row, const FileInfo& file) {
  return row.hadFolderPicture.value_or(file.folderHasPicture) != file.folderHasPicture;
}

/// Moves the files without an equal row from `found` to `toAdd`, and those whose cover is another
/// now; the rows of these become stale. Both sides are sorted.
void moveNewFiles(std::vector<FileInfo*>& found, const std::vector<const DbObject*>& rows,
                  std::vector<FileInfo*>& toAdd, std::vector<const DbObject*>& stale) {
  assert(std::is_sorted(found.begin(), found.end(), DbObjectPtrComparer()));
  toAdd.reserve(found.size());
  auto row = rows.begin();
  for (FileInfo*& file : found) {
    while (row != rows.end() && less(*row, file)) ++row;
    if (row != rows.end() && !less(static_cast<const FileInfo*>(file), *row)) {
      const DbObject* const equal = *row++;  // a row accounts for one file only
      if (!hasOldCover(*equal, *file)) continue;
      stale.push_back(equal);
    }
    toAdd.push_back(file);
    file = nullptr;
  }
}

/// Marks the files whose stale row says that an earlier request could not read them. Both sides are
/// sorted.
void markFailedBefore(const std::vector<FileInfo*>& files,
                      const std::vector<const DbObject*>& stale) {
  auto row = stale.begin();
  for (FileInfo* file : files) {
    const Key failed(*file->path, kNeverRead);
    row = std::lower_bound(row, stale.end(), failed,
                           [](const DbObject* a, const Key& b) { return keyOf(a) < b; });
    if (row == stale.end()) return;
    file->failedBefore = keyOf(*row) == failed;
  }
}

std::vector<std::int32_t> idsOf(const std::vector<const DbObject*>& rows) {
  std::vector<std::int32_t> ids;
  ids.reserve(rows.size());
  for (const DbObject* row : rows) ids.push_back(row->id);
  return ids;
}

}  // namespace

bool DbObjectPtrComparer::operator()(const DbObject* a, const DbObject* b) const {
  return less(a, b);
}
bool DbObjectPtrComparer::operator()(const FileInfo* a, const FileInfo* b) const {
  return less(a, b);
}
bool DbObjectPtrComparer::operator()(const FileInfo* a, const DbObject* b) const {
  return less(a, b);
}
bool DbObjectPtrComparer::operator()(const DbObject* a, const FileInfo* b) const {
  return less(a, b);
}

int GenericChangeFinder::findDifference(const std::string& selectSql, const std::string& deleteSql,
                                        const boost::shared_ptr<Block<FileInfo*>>& found,
                                        const boost::shared_ptr<Block<FileInfo*>>& toAdd) {
  assert(found != nullptr && toAdd != nullptr && toAdd->items.empty());
  const Timer timer;
  const int operationId = found->operation.id;
  stored.refresh(in, selectSql);
  std::vector<const DbObject*> rows;
  rows.reserve(stored.rows().size());
  for (const DbObject& row : stored.rows()) rows.push_back(&row);
  sortByKey(rows);
  sortByKey(found->items);
  OV_INFO("%s: Data Inside db Count: %u, Data Inside device count %d (op:%d)", name,
          static_cast<unsigned>(rows.size()), static_cast<int>(found->items.size()), operationId);

  std::vector<const DbObject*> stale;
  std::set_difference(rows.begin(), rows.end(), found->items.begin(), found->items.end(),
                      std::back_inserter(stale), DbObjectPtrComparer());
  keepDoubtful(stale, *found);
  vanishedRows = countVanished(stale, found->items);
  moveNewFiles(found->items, rows, toAdd->items, stale);
  sortByKey(stale);
  markFailedBefore(toAdd->items, stale);
  OV_INFO("%s: db Objects To be Deleted count: %u (op:%d)", name,
          static_cast<unsigned>(stale.size()), operationId);
  deleteRows(deleteSql, stale, *toAdd);
  OV_INFO("ChangeFinder timer: %ld", timer.elapsedMs());
  OV_INFO("%s: Data to be added to db size: %u (op:%d)", name,
          static_cast<unsigned>(toAdd->items.size()), operationId);
  return static_cast<int>(toAdd->items.size());
}

void GenericChangeFinder::deleteRows(const std::string& deleteSql,
                                     const std::vector<const DbObject*>& stale,
                                     const Block<FileInfo*>& toAdd) {
  differs = !stale.empty() || !toAdd.items.empty();
  if (!differs) return;
  Transaction transaction(out);
  // Together with the deletions: "OK" promises that no row is missing and no clean-up due.
  isMarked = markInProgress(toAdd.operation.mountPoint);
  if (!isMarked) {
    transaction.rollBack();
    allDeleted = false;
    return;
  }
  if (beforeDeletion) beforeDeletion(idsOf(stale));
  out.query(deleteSql.c_str());
  for (const DbObject* row : stale) out << row->id << sqlstl::step;
  const bool allStepped = out.good();
  out.finalize();
  isMarked = transaction.end();
  allDeleted = isMarked && (allStepped || stale.empty());
}

bool GenericChangeFinder::markInProgress(const std::string& mountPoint) {
  const Md5 partition(Md5Kind::Directory, mountPoint);
  out.query(sql::kUpsertStatus);
  out << partition.text() << mountPoint << "PROGRESS" << sqlstl::step;
  return out.good();
}

}  // namespace orvel
