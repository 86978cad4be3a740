#include "tests/faults/FailingMemory.h"

#include <link.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdint>
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

/// Where the code of a library lies.
struct CodeRange {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;

  [[nodiscard]] bool contains(const void* address) const {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at >= begin && at < end;
  }
};

int findTagLibrary(dl_phdr_info* library, std::size_t /*size*/, void* found) {
  if (std::strstr(library->dlpi_name, "libtag.so") == nullptr) return 0;
  auto& range = *static_cast<CodeRange*>(found);
  for (int i = 0; i < library->dlpi_phnum; ++i) {
    const auto& segment = library->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
    range.begin = library->dlpi_addr + segment.p_vaddr;
    range.end = range.begin + segment.p_memsz;
  }
  return 1;
}

const CodeRange& tagLibrary() {
  static const CodeRange range = [] {
    CodeRange found;
    dl_iterate_phdr(findTagLibrary, &found);
    return found;
  }();
  return range;
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
  if (!isSpared && !tagLibrary().contains(caller) && fails(Allocator::New)) throw std::bad_alloc();
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
/// The tag parser leaks what it holds when its own memory runs out.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libtag.so\n";
}
#endif
