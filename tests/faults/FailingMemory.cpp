#include "tests/faults/FailingMemory.h"

#include <dlfcn.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

namespace orvel::test::failingMemory {

namespace {

enum class Allocator { None, New, Sqlite };

struct Plan {
  std::atomic<Allocator> armed{Allocator::None};
  std::atomic<long> failing{0};
  std::atomic<bool> persistent{false};
  std::atomic<long> count{0};
};

constinit Plan plan;
constinit thread_local bool isSpared = false;
sqlite3_mem_methods ordinary{};

/// TagLib's lists lose count of their owners when an allocation of theirs fails.
bool isTagLibrary(const void* caller) {
  Dl_info library{};
  return dladdr(caller, &library) != 0 && std::strstr(library.dli_fname, "libtag.so") != nullptr;
}

bool fails(Allocator allocator) {
  if (plan.armed != allocator) return false;
  const long number = ++plan.count;
  const long first = plan.failing;
  return first > 0 && (number == first || (number > first && plan.persistent));
}

void arm(Allocator allocator, long n, bool persistent) {
  plan.failing = n;
  plan.persistent = persistent;
  plan.count = 0;
  plan.armed = allocator;
}

void* sqliteMalloc(int bytes) {
  return fails(Allocator::Sqlite) ? nullptr : ordinary.xMalloc(bytes);
}

void* sqliteRealloc(void* memory, int bytes) {
  return fails(Allocator::Sqlite) ? nullptr : ordinary.xRealloc(memory, bytes);
}

void require(int result) {
  if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errstr(result));
}

}  // namespace

void* allocate(std::size_t bytes, const void* caller) {
  if (plan.armed == Allocator::New && !isSpared && !isTagLibrary(caller) && fails(Allocator::New)) {
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(bytes == 0 ? 1 : bytes)) return memory;
  throw std::bad_alloc();
}

void armNew(long n, bool persistent) {
  isSpared = true;
  arm(Allocator::New, n, persistent);
}

void installInSqlite() {
  require(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &ordinary));
  sqlite3_mem_methods failing = ordinary;
  failing.xMalloc = sqliteMalloc;
  failing.xRealloc = sqliteRealloc;
  require(sqlite3_config(SQLITE_CONFIG_MALLOC, &failing));
  // Small allocations would otherwise be served from a reserve of each connection.
  require(sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0));
}

void armSqlite(long n, bool persistent) {
  arm(Allocator::Sqlite, n, persistent);
}

long disarm() {
  plan.armed = Allocator::None;
  return plan.count;
}

}  // namespace orvel::test::failingMemory

void* operator new(std::size_t bytes) {
  return orvel::test::failingMemory::allocate(bytes, __builtin_return_address(0));
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}

#ifdef ORVEL_SANITIZED
#pragma clang diagnostic ignored "-Wreserved-identifier"  // the sanitizer's own name
/// The tag parser leaks its objects when its own memory runs out.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libtag.so\n";
}
#endif
