#include "tests/faults/FailingVfs.h"

#include <sqlite3.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>

namespace orvel::test::failingVfs {

namespace {

struct Plan {
  std::atomic<bool> armed{false};
  std::atomic<Fault> fault{Fault::NoSpace};
  std::atomic<long> failing{0};
  std::atomic<bool> persistent{false};
  std::atomic<long> count{0};
  std::atomic<bool> hanging{false};
  std::atomic<std::thread::id> host;
};

Plan plan;
sqlite3_vfs* real = nullptr;
sqlite3_vfs failing{};
/// The methods of the real VFS for databases; those for other files differ in their locks only.
const sqlite3_io_methods* ordinary = nullptr;

/// True when this operation, one that `fault` applies to, is to fail. A disk that hangs keeps those
/// that could have an I/O error.
bool fails(Fault fault) {
  const bool mayHang = plan.fault == Fault::Hang && fault == Fault::IoError &&
                       std::this_thread::get_id() != plan.host;
  if (!plan.armed || (plan.fault != fault && !mayHang)) return false;
  const long number = ++plan.count;
  if (mayHang) {
    if (number == plan.failing) {
      plan.hanging = true;
      plan.hanging.wait(true);
    }
    return false;
  }
  const long first = plan.failing;
  return first > 0 && (number == first || (number > first && plan.persistent));
}

int read(sqlite3_file* file, void* data, int bytes, sqlite3_int64 offset) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_READ;
  if (fails(Fault::Corrupt)) return SQLITE_CORRUPT;
  return ordinary->xRead(file, data, bytes, offset);
}

int write(sqlite3_file* file, const void* data, int bytes, sqlite3_int64 offset) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_WRITE;
  if (fails(Fault::ReadOnly)) return SQLITE_READONLY;
  sqlite3_int64 size = 0;
  ordinary->xFileSize(file, &size);
  if (offset + bytes > size && fails(Fault::NoSpace)) return SQLITE_FULL;
  return ordinary->xWrite(file, data, bytes, offset);
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_TRUNCATE;
  if (fails(Fault::ReadOnly)) return SQLITE_READONLY;
  return ordinary->xTruncate(file, size);
}

int sync(sqlite3_file* file, int flags) {
  return fails(Fault::IoError) ? SQLITE_IOERR_FSYNC : ordinary->xSync(file, flags);
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  return fails(Fault::IoError) ? SQLITE_IOERR_FSTAT : ordinary->xFileSize(file, size);
}

int lock(sqlite3_file* file, int level) {
  return fails(Fault::IoError) ? SQLITE_IOERR_LOCK : ordinary->xLock(file, level);
}

int checkReservedLock(sqlite3_file* file, int* held) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_CHECKRESERVEDLOCK;
  return ordinary->xCheckReservedLock(file, held);
}

int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
  *memory = nullptr;
  if (fails(Fault::IoError)) return SQLITE_IOERR_SHMMAP;
  if (extend != 0 && fails(Fault::NoSpace)) return SQLITE_IOERR_SHMSIZE;
  return ordinary->xShmMap(file, page, size, extend, memory);
}

/// A copy of the methods in which those above take the place of the real ones.
const sqlite3_io_methods* failingMethods(const sqlite3_io_methods* methods, bool isDatabase) {
  static std::mutex mutex;
  static std::map<const sqlite3_io_methods*, sqlite3_io_methods> copies;
  const std::lock_guard guard(mutex);
  const auto [entry, isNew] = copies.try_emplace(methods, *methods);
  sqlite3_io_methods& copy = entry->second;
  if (!isNew) return &copy;
  copy.iVersion = 2;  // without memory-mapped pages, which would pass this VFS by
  copy.xRead = read;
  copy.xWrite = write;
  copy.xTruncate = truncate;
  copy.xSync = sync;
  copy.xFileSize = fileSize;
  if (!isDatabase) return &copy;
  ordinary = methods;
  copy.xLock = lock;
  copy.xCheckReservedLock = checkReservedLock;
  copy.xShmMap = shmMap;
  return &copy;
}

int open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* result) {
  file->pMethods = nullptr;
  if (fails(Fault::IoError)) return SQLITE_CANTOPEN;
  const int code = real->xOpen(real, name, file, flags, result);
  if (file->pMethods != nullptr) {
    file->pMethods = failingMethods(file->pMethods, (flags & SQLITE_OPEN_MAIN_DB) != 0);
  }
  return code;
}

int remove(sqlite3_vfs* /*vfs*/, const char* name, int flush) {
  if (fails(Fault::IoError) || fails(Fault::ReadOnly)) return SQLITE_IOERR_DELETE;
  return real->xDelete(real, name, flush);
}

int access(sqlite3_vfs* /*vfs*/, const char* name, int flags, int* result) {
  return fails(Fault::IoError) ? SQLITE_IOERR_ACCESS : real->xAccess(real, name, flags, result);
}

}  // namespace

void install() {
  if (real != nullptr) return;
  real = sqlite3_vfs_find(nullptr);
  failing = *real;
  failing.pNext = nullptr;
  failing.zName = "failing";
  failing.xOpen = open;
  failing.xDelete = remove;
  failing.xAccess = access;
  sqlite3_vfs_register(&failing, 1);
}

void arm(Fault fault, long n, bool persistent) {
  plan.fault = fault;
  plan.failing = n;
  plan.persistent = persistent;
  plan.count = 0;
  plan.host = std::this_thread::get_id();
  plan.armed = true;
}

bool isHanging() {
  return plan.hanging;
}

void release() {
  plan.hanging = false;
  plan.hanging.notify_all();
}

long disarm() {
  plan.armed = false;
  return plan.count;
}

}  // namespace orvel::test::failingVfs
