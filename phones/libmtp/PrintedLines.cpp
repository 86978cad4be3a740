#include "phones/libmtp/PrintedLines.h"

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <string_view>
#include <utility>

#include "base/Log.h"
#include "base/Mutex.h"
#include "base/NoDestructor.h"

namespace orvel {

namespace {

/// The number of instances on this thread.
thread_local int instancesHere = 0;

void logLines(std::string_view text) {
  // The log may itself write to one of these streams: it must reach the original one.
  const int instances = std::exchange(instancesHere, 0);
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (!line.empty()) OV_DEBUG("libmtp: %.*s", static_cast<int>(line.size()), line.data());
    text.remove_prefix(line.size() == text.size() ? line.size() : line.size() + 1);
  }
  instancesHere = instances;
}

/// Replaces one of C's streams and sorts the printed text by the printing thread.
class StreamSorter {
 public:
  explicit StreamSorter(std::FILE*& sortedStream) : variable(sortedStream) {
    cookie_io_functions_t functions{};
    functions.write = &StreamSorter::write;
    sorting = fopencookie(this, "w", functions);
    // Unbuffered, so that `write` runs on the thread that prints.
    if (sorting != nullptr) std::setvbuf(sorting, nullptr, _IONBF, 0);
  }

  void begin() {
    if (sorting == nullptr) return;
    ordinary = variable;
    variable = sorting;
  }

  void end() {
    if (sorting != nullptr && variable == sorting) variable = ordinary;
  }

 private:
  static ssize_t write(void* cookie, const char* text, std::size_t length) {
    if (instancesHere == 0) {
      auto* const stream = static_cast<StreamSorter*>(cookie)->ordinary.load();
      return static_cast<ssize_t>(std::fwrite(text, 1, length, stream));
    }
    logLines({text, length});
    return static_cast<ssize_t>(length);
  }

  std::FILE*& variable;
  std::FILE* sorting = nullptr;  ///< never closed: another thread may be printing to it
  std::atomic<std::FILE*> ordinary{nullptr};
};

/// Never destroyed: a device may be in a call until the process ends.
struct Sorting {
  Mutex mutex;
  int instances ORVEL_GUARDED_BY(mutex) = 0;
  StreamSorter output{stdout};
  StreamSorter error{stderr};
};

Sorting& sorting() {
  static NoDestructor<Sorting> shared;
  return *shared;
}

}  // namespace

PrintedLines::PrintedLines() {
  Sorting& shared = sorting();
  const MutexLock lock(shared.mutex);
  ++instancesHere;
  if (shared.instances++ > 0) return;
  shared.output.begin();
  shared.error.begin();
}

PrintedLines::~PrintedLines() {
  Sorting& shared = sorting();
  const MutexLock lock(shared.mutex);
  --instancesHere;
  if (--shared.instances > 0) return;
  shared.output.end();
  shared.error.end();
}

}  // namespace orvel
