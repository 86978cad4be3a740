#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <future>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "search/FoldedPool.h"

namespace orvel::search {

/// Adds names to pools, on a thread of its own once they are many: folding them takes as long as
/// reading them. For one thread; the pools must outlive it.
class NameFolder {
 public:
  NameFolder() = default;
  ~NameFolder();
  NameFolder(const NameFolder&) = delete;
  NameFolder& operator=(const NameFolder&) = delete;

  /// Adds a name with its reading, which may be empty, to `pool`.
  void add(FoldedPool& pool, std::string_view name, std::string_view reading);
  /// Waits until all names are in their pools; none can be added any more. Throws std::bad_alloc.
  void finish();

 private:
  /// Names of one pool in the order of their rows.
  struct Batch {
    struct Lengths {
      std::uint32_t name;
      std::uint32_t reading;
    };

    FoldedPool* pool = nullptr;
    std::string texts;
    std::vector<Lengths> lengths;
  };

  void handOver();
  void complete();
  void foldBatches();
  static void fold(const Batch& batch);

  Batch collected;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Batch> batches;  ///< to be folded
  bool isComplete = false;    ///< no batch will follow
  std::future<void> folding;  ///< last, since it waits for the thread
};

}  // namespace orvel::search
