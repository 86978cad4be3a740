#pragma once

#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "cli/SignalWatcher.h"

namespace orvel::cli {

/// Runs `work`, which may hang with a device, on a new thread and serves the main loop meanwhile.
/// Returns nothing when a signal or the deadline comes first; `work` then outlives this call, so it
/// must own its data. Rethrows the exception of `work`.
template <class Work>
auto doInBackground(
    Work work, const SignalWatcher& signals,
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max())
    -> std::optional<decltype(work())> {
  constexpr int kLookMs = 10;
  std::packaged_task<decltype(work())()> task(std::move(work));
  auto result = task.get_future();
  std::thread(std::move(task)).detach();
  const auto isDone = [&] {
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  };
  QEventLoop loop;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
    const bool isOver = std::chrono::steady_clock::now() >= deadline;
    if (isOver || signals.received() != 0 || isDone()) loop.quit();
  });
  timer.start(kLookMs);
  loop.exec();
  if (!isDone()) return std::nullopt;
  return result.get();
}

}  // namespace orvel::cli
