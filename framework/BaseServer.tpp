#pragma once

#include <utility>

#include "base/Log.h"
#include "base/retryOnBadAlloc.h"

namespace orvel {

template <class T>
BaseServer<T>::BaseServer(const char* serverName, std::size_t threadStackBytes)
    : ServerThread(serverName, threadStackBytes) {}

template <class T>
BaseServer<T>::~BaseServer() {
  OV_INFO("~BaseServer");
}

template <class T>
void BaseServer<T>::start() {
  if (stopping()) {
    OV_WARN("SYSTEM is Stopping cannot start it again %s", name);
    return;
  }
  if (state == PAUSED) {
    OV_INFO("%s is now paused play it again", name);
    const MutexLock lock(mutex);
    resumeUnlessStopping();
    cond.broadcast();
    return;
  }
  resumeUnlessStopping();
}

template <class T>
void BaseServer<T>::stop() {
  OV_INFO("%s stop %x", name, static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this)));
  {
    const MutexLock lock(mutex);
    state = STOPPING;
    while (count != 0) {
      OV_INFO("%s stop DELETING %d", name, count);
      queue.pop_front();
      --count;
    }
    cond.broadcast();
  }
  cancellation.request_stop();
  OV_INFO("%s stopped", name);
}

template <class T>
void BaseServer<T>::enqueue(block_type_ptr block) {
  const int operationId = block->operation.id;
  if (!stopping() && retryOnBadAlloc([&] { return append(block); })) return;
  OV_INFO("%d: enqueue skipped block for op %d", static_cast<int>(STOPPING), operationId);
}

/// False when the server was stopped.
template <class T>
bool BaseServer<T>::append(block_type_ptr& block) {
  const int operationId = block->operation.id;
  const MutexLock lock(mutex);
  while (count >= capacity && !stopping()) cond.wait(mutex);
  if (stopping()) return false;
  queue.push_back(std::move(block));
  ++count;
  OV_INFO("%s %d (op: %d)", name, count, operationId);
  cond.broadcast();
  return true;
}

// A stopped consumer returns with the mutex held, which the analysis cannot express.
template <class T>
typename BaseServer<T>::block_type_ptr BaseServer<T>::pop(bool& holdsMutex)
    ORVEL_NO_THREAD_SAFETY_ANALYSIS {
  holdsMutex = false;
  if (stopping()) return {};
  mutex.lock();
  while (count == 0 || state == PAUSED) {
    if (!stopping()) cond.wait(mutex);
    if (stopping()) {
      holdsMutex = true;
      return {};
    }
  }
  block_type_ptr block = std::move(queue.front());
  queue.pop_front();
  --count;
  OV_INFO("%s %d (op:%d)", name, count, block->operation.id);
  cond.broadcast();
  mutex.unlock();
  return block;
}

}  // namespace orvel
