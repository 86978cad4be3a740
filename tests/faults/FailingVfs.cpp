#include "tests/faults/FailingVfs.h"

#include <sqlite3.h>

#include <atomic>
#include <new>

namespace orvel::test::failingVfs {

namespace {

struct Plan {
  std::atomic<bool> armed{false};
  std::atomic<Fault> fault{Fault::NoSpace};
  std::atomic<long> failing{0};
  std::atomic<bool> persistent{false};
  std::atomic<long> count{0};
};

Plan plan;
sqlite3_vfs* real = nullptr;
sqlite3_vfs failing{};

/// True when this operation, one that `fault` applies to, is to fail.
bool fails(Fault fault) {
  if (!plan.armed || plan.fault != fault) return false;
  const long number = ++plan.count;
  const long first = plan.failing;
  return first > 0 && (number == first || (number > first && plan.persistent));
}

/// The file of this VFS; the real one lies behind it in the memory that SQLite provides.
struct File {
  sqlite3_file base;

  sqlite3_file* below() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* below(sqlite3_file* file) {
  return reinterpret_cast<File*>(file)->below();
}

int close(sqlite3_file* file) {
  return below(file)->pMethods->xClose(below(file));
}

int read(sqlite3_file* file, void* data, int bytes, sqlite3_int64 offset) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_READ;
  if (fails(Fault::Corrupt)) return SQLITE_CORRUPT;
  return below(file)->pMethods->xRead(below(file), data, bytes, offset);
}

int write(sqlite3_file* file, const void* data, int bytes, sqlite3_int64 offset) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_WRITE;
  if (fails(Fault::ReadOnly)) return SQLITE_READONLY;
  sqlite3_int64 size = 0;
  below(file)->pMethods->xFileSize(below(file), &size);
  if (offset + bytes > size && fails(Fault::NoSpace)) return SQLITE_FULL;
  return below(file)->pMethods->xWrite(below(file), data, bytes, offset);
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_TRUNCATE;
  if (fails(Fault::ReadOnly)) return SQLITE_READONLY;
  return below(file)->pMethods->xTruncate(below(file), size);
}

int sync(sqlite3_file* file, int flags) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_FSYNC;
  return below(file)->pMethods->xSync(below(file), flags);
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_FSTAT;
  return below(file)->pMethods->xFileSize(below(file), size);
}

int lock(sqlite3_file* file, int level) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_LOCK;
  return below(file)->pMethods->xLock(below(file), level);
}

int unlock(sqlite3_file* file, int level) {
  return below(file)->pMethods->xUnlock(below(file), level);
}

int checkReservedLock(sqlite3_file* file, int* held) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_CHECKRESERVEDLOCK;
  return below(file)->pMethods->xCheckReservedLock(below(file), held);
}

int fileControl(sqlite3_file* file, int operation, void* argument) {
  return below(file)->pMethods->xFileControl(below(file), operation, argument);
}

int sectorSize(sqlite3_file* file) {
  return below(file)->pMethods->xSectorSize(below(file));
}

int deviceCharacteristics(sqlite3_file* file) {
  return below(file)->pMethods->xDeviceCharacteristics(below(file));
}

int shmMap(sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
  *memory = nullptr;
  if (fails(Fault::IoError)) return SQLITE_IOERR_SHMMAP;
  if (extend != 0 && fails(Fault::NoSpace)) return SQLITE_IOERR_SHMSIZE;
  return below(file)->pMethods->xShmMap(below(file), page, size, extend, memory);
}

int shmLock(sqlite3_file* file, int offset, int count, int flags) {
  return below(file)->pMethods->xShmLock(below(file), offset, count, flags);
}

void shmBarrier(sqlite3_file* file) {
  below(file)->pMethods->xShmBarrier(below(file));
}

int shmUnmap(sqlite3_file* file, int remove) {
  return below(file)->pMethods->xShmUnmap(below(file), remove);
}

// Version 2: without memory-mapped pages, which would pass this VFS by.
constexpr sqlite3_io_methods kMethods = {2,
                                         close,
                                         read,
                                         write,
                                         truncate,
                                         sync,
                                         fileSize,
                                         lock,
                                         unlock,
                                         checkReservedLock,
                                         fileControl,
                                         sectorSize,
                                         deviceCharacteristics,
                                         shmMap,
                                         shmLock,
                                         shmBarrier,
                                         shmUnmap,
                                         nullptr,
                                         nullptr};

int open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* result) {
  file->pMethods = nullptr;
  if (fails(Fault::IoError)) return SQLITE_CANTOPEN;
  const int code = real->xOpen(real, name, below(file), flags, result);
  if (below(file)->pMethods != nullptr) file->pMethods = &kMethods;
  return code;
}

int remove(sqlite3_vfs* /*vfs*/, const char* name, int flush) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_DELETE;
  if (fails(Fault::ReadOnly)) return SQLITE_IOERR_DELETE;
  return real->xDelete(real, name, flush);
}

int access(sqlite3_vfs* /*vfs*/, const char* name, int flags, int* result) {
  if (fails(Fault::IoError)) return SQLITE_IOERR_ACCESS;
  return real->xAccess(real, name, flags, result);
}

}  // namespace

void install() {
  if (real != nullptr) return;
  real = sqlite3_vfs_find(nullptr);
  failing = *real;
  failing.pNext = nullptr;
  failing.zName = "failing";
  failing.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
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
  plan.armed = true;
}

long disarm() {
  plan.armed = false;
  return plan.count;
}

}  // namespace orvel::test::failingVfs
