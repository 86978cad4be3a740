#pragma once

#include <orvel/BaseServer.h>
#include <deque>
#include <utility>

#include "base/Log.h"
#include "base/Mutex.h"
#include "base/retryOnBadAlloc.h"

// The bodies of BaseServer, for code that instantiates it.
namespace orvel {

template <class T>
struct BaseServer<T>::Queue {
  const int capacity = 100;
  int count ORVEL_GUARDED_BY(mutex) = 0;
  std::deque<block_type_ptr> queue ORVEL_GUARDED_BY(mutex);
  std::function<void()> errand ORVEL_GUARDED_BY(mutex);
  Mutex mutex;
  Condition cond;

  // A stopped consumer returns with the mutex held, which the analysis cannot express.
  block_type_ptr pop(BaseServer& server, bool& holdsMutex) ORVEL_NO_THREAD_SAFETY_ANALYSIS {
    mutex.lock();
    while (count == 0 || server.state == PAUSED) {
      if (!server.stopping() && !runErrand(server)) cond.wait(mutex);
      if (server.stopping()) {
        holdsMutex = true;
        return {};
      }
    }
    errand = {};
    block_type_ptr block = std::move(queue.front());
    queue.pop_front();
    --count;
    OV_INFO("%s %d (op:%d)", server.name, count, block->operation.id);
    cond.broadcast();
    mutex.unlock();
    return block;
  }

  bool runErrand(const BaseServer& server) ORVEL_REQUIRES(mutex) {
    if (!errand || server.state == PAUSED) return false;
    const std::function<void()> begun = std::exchange(errand, {});
    mutex.unlock();
    begun();
    mutex.lock();
    return true;
  }

  void release() ORVEL_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }
};

template <class T>
BaseServer<T>::BaseServer(const char* serverName, std::size_t threadStackBytes)
    : ServerThread(serverName, threadStackBytes), blocks(std::make_unique<Queue>()) {}

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
    const MutexLock lock(blocks->mutex);
    resumeUnlessStopping();
    blocks->cond.broadcast();
    return;
  }
  resumeUnlessStopping();
}

template <class T>
void BaseServer<T>::stop() {
  OV_INFO("%s stop %x", name, static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(this)));
  {
    const MutexLock lock(blocks->mutex);
    state = STOPPING;
    while (blocks->count != 0) {
      OV_INFO("%s stop DELETING %d", name, blocks->count);
      blocks->queue.pop_front();
      --blocks->count;
    }
    blocks->cond.broadcast();
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

template <class T>
void BaseServer<T>::runMeanwhile(const std::function<void()>& errand) {
  const MutexLock lock(blocks->mutex);
  blocks->errand = errand;
  blocks->cond.broadcast();
}

/// False when the server was stopped.
template <class T>
bool BaseServer<T>::append(block_type_ptr& block) {
  const int operationId = block->operation.id;
  const MutexLock lock(blocks->mutex);
  while (blocks->count >= blocks->capacity && !stopping()) blocks->cond.wait(blocks->mutex);
  if (stopping()) return false;
  blocks->queue.push_back(std::move(block));
  ++blocks->count;
  OV_INFO("%s %d (op: %d)", name, blocks->count, operationId);
  blocks->cond.broadcast();
  return true;
}

template <class T>
typename BaseServer<T>::block_type_ptr BaseServer<T>::pop(bool& holdsMutex) {
  holdsMutex = false;
  if (stopping()) return {};
  return blocks->pop(*this, holdsMutex);
}

template <class T>
void BaseServer<T>::releaseQueue() {
  blocks->release();
}

}  // namespace orvel
