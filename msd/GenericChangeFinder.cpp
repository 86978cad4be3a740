#include "msd/GenericChangeFinder.h"

#include <algorithm>
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

/// The device and the database agree on the order of most files already.
template <class Pointers>
void sortByKey(Pointers& pointers) {
  const DbObjectPtrComparer comparer;
  if (!std::is_sorted(pointers.begin(), pointers.end(), comparer)) {
    std::sort(pointers.begin(), pointers.end(), comparer);
  }
}

/// How many of `rows` have a path that no file has. Both are sorted.
unsigned countVanished(const std::vector<const DbObject*>& rows,
                       const std::vector<FileInfo*>& files) {
  unsigned vanished = 0;
  auto file = files.begin();
  for (const DbObject* row : rows) {
    while (file != files.end() && *(*file)->path < row->path) ++file;
    if (file == files.end() || *(*file)->path != row->path) ++vanished;
  }
  return vanished;
}

/// Moves the files of `found` that have no equal row to `toAdd`. Both sides are sorted.
void moveNewFiles(std::vector<FileInfo*>& found, const std::vector<const DbObject*>& rows,
                  std::vector<FileInfo*>& toAdd) {
  toAdd.reserve(found.size());
  auto row = rows.begin();
  for (FileInfo*& file : found) {
    while (row != rows.end() && less(*row, file)) ++row;
    if (row != rows.end() && !less(static_cast<const FileInfo*>(file), *row)) {
      ++row;  // this row accounts for this file, and for no other
      continue;
    }
    toAdd.push_back(file);
    file = nullptr;
  }
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
  const Timer timer;
  const int operationId = found->operation.id;
  const std::vector<DbObject> stored = readRows(selectSql);
  std::vector<const DbObject*> rows;
  rows.reserve(stored.size());
  for (const DbObject& row : stored) rows.push_back(&row);
  sortByKey(rows);
  sortByKey(found->items);
  OV_INFO("%s: Data Inside db Count: %u, Data Inside device count %d (op:%d)", name,
          static_cast<unsigned>(rows.size()), static_cast<int>(found->items.size()), operationId);

  std::vector<const DbObject*> stale;
  std::set_difference(rows.begin(), rows.end(), found->items.begin(), found->items.end(),
                      std::back_inserter(stale), DbObjectPtrComparer());
  vanishedRows = countVanished(stale, found->items);
  moveNewFiles(found->items, rows, toAdd->items);
  OV_INFO("%s: db Objects To be Deleted count: %u (op:%d)", name,
          static_cast<unsigned>(stale.size()), operationId);
  const Md5 partition(Md5Kind::Directory, found->operation.mountPoint);
  deleteRows(deleteSql, stale, toAdd->items.empty() ? nullptr : &partition.text());
  OV_INFO("ChangeFinder timer: %ld", timer.elapsedMs());
  OV_INFO("%s: Data to be added to db size: %u (op:%d)", name,
          static_cast<unsigned>(toAdd->items.size()), operationId);
  return static_cast<int>(toAdd->items.size());
}

std::vector<DbObject> GenericChangeFinder::readRows(const std::string& selectSql) {
  std::vector<DbObject> rows;
  in.query(selectSql.c_str());
  while (in.good()) {
    DbObject row;
    double modified = 0;
    in >> row.id >> modified >> row.path;
    if (!in.good()) break;
    row.lastModified = narrowTime(static_cast<std::int64_t>(modified));
    rows.push_back(std::move(row));
    in.step();
  }
  allRead = in.eof();
  // An open SELECT would block this stage's own COMMIT where the journal is not WAL.
  in.finalize();
  return rows;
}

void GenericChangeFinder::deleteRows(const std::string& deleteSql,
                                     const std::vector<const DbObject*>& rows,
                                     const std::string* partitionInProgress) {
  Transaction transaction(out);
  bool marked = true;
  if (partitionInProgress != nullptr && !rows.empty()) {
    out.query(sql::kMarkInProgress);
    out << *partitionInProgress << sqlstl::step;
    marked = out.good();
  }
  out.query(deleteSql.c_str());
  for (const DbObject* row : rows) out << row->id << sqlstl::step;
  const bool allStepped = out.good();
  out.finalize();
  allDeleted = transaction.end() && marked && (allStepped || rows.empty());
}

}  // namespace orvel
