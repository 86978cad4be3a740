#include "search/NameFolder.h"

#include <cstddef>
#include <utility>

namespace orvel::search {

namespace {

constexpr std::size_t kBatchNames = 512;

/// Fewer names are folded sooner than a thread starts.
constexpr std::size_t kFewNames = 128;

}  // namespace

NameFolder::~NameFolder() {
  complete();
}

void NameFolder::add(FoldedPool& pool, std::string_view name, std::string_view reading) {
  if (&pool != collected.pool || collected.lengths.size() == kBatchNames) handOver();
  collected.pool = &pool;
  collected.texts.append(name).append(reading);
  collected.lengths.push_back(
      {static_cast<std::uint32_t>(name.size()), static_cast<std::uint32_t>(reading.size())});
}

void NameFolder::finish() {
  handOver();
  complete();
  if (folding.valid()) {
    folding.get();
  } else {
    foldBatches();
  }
}

void NameFolder::handOver() {
  if (!folding.valid() && collected.lengths.size() >= kFewNames) {
    // Where no thread can be had, `finish` folds.
    folding = std::async([this] { foldBatches(); });
  }
  {
    const std::lock_guard lock(mutex);
    batches.push_back(std::exchange(collected, {}));
  }
  changed.notify_one();
}

void NameFolder::complete() {
  {
    const std::lock_guard lock(mutex);
    isComplete = true;
  }
  changed.notify_one();
}

void NameFolder::foldBatches() {
  std::unique_lock lock(mutex);
  for (;;) {
    changed.wait(lock, [this] { return isComplete || !batches.empty(); });
    if (batches.empty()) return;
    const Batch batch = std::move(batches.front());
    batches.pop_front();
    lock.unlock();
    fold(batch);
    lock.lock();
  }
}

void NameFolder::fold(const Batch& batch) {
  std::string_view rest = batch.texts;
  for (const auto& [name, reading] : batch.lengths) {
    batch.pool->add(rest.substr(0, name), rest.substr(name, reading));
    rest.remove_prefix(name + reading);
  }
}

}  // namespace orvel::search
